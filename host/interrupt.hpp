// Ctrl-C and its like.
#pragma once

namespace ferrow {

// From now on SIGINT and SIGTERM only leave a note; a second one ends the process at once.
void watchInterrupts();

// Whether such a note has been left.
bool interrupted();

} // namespace ferrow
