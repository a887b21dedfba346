// How a value looks to a host's callback, by type.
#pragma once

#include "core/async/handle.hpp"
#include "core/buff/buff.hpp"

#include <memory>
#include <string>

namespace ferrow {

// Scalars cross by value.
template <class T>
struct HostArg {
    using type = T;
    static T pass(const T& value) { return value; }
};

// The text lasts for the call only.
template <>
struct HostArg<std::string> {
    using type = const char*;
    static const char* pass(const std::string& value) { return value.c_str(); }
};

// A fresh handle on the same samples, which the host owns.
template <class T>
struct HostArg<buff<T>> {
    using type = void*;
    static void* pass(const buff<T>& value) { return new buff<T>(value); }
};

// A fresh handle on the object, which the host owns; null for none.
template <class C>
struct HostArg<std::shared_ptr<C>> {
    using type = void*;
    static void* pass(const std::shared_ptr<C>& value) { return value ? makeHandle(value) : nullptr; }
};

template <class T>
using HostType = typename HostArg<T>::type;

} // namespace ferrow
