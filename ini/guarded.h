// How an operation that needs memory ends without throwing.
#pragma once

#include <exception>

// The operation's result; false when it ran out of memory.
template <class Operation>
bool Guarded(const Operation& operation) noexcept {
  try {
    return operation();
  } catch (const std::exception&) {
    return false;
  }
}
