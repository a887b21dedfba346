#include "host/thunk.hpp"

namespace ferrow {

template class Thunks<int>;
template class Thunks<const char*>;
template class Thunks<>;
template class Thunks<void*>;
template class Thunks<double>;
template class Thunks<bool>;

} // namespace ferrow
