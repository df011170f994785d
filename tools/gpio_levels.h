// The plain file that stands for the GPIO device beneath a root.
#pragma once

#include <cstdint>

inline constexpr int kHighestGpioInput = 1023;

// The level of an input; a Failure when there is no such file, or the file ends before it.
std::int32_t GetGpioLevel(int input);
// Sets the level of an input, 0 … kHighestGpioInput. A Failure when there is no such file; a real
// device is left alone.
void SetGpioLevel(int input, std::int32_t level);
