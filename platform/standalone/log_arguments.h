// The arguments of a printf-like call, copied so that another thread can render them later.
//
// Both sides walk the format: packing to learn the arguments' types, rendering to print them. Known
// are the conversions d i u o x X c s p f F e E g G a A and %, with flags, width, precision ('*'
// too) and the lengths hh h l ll z j t L. At any other conversion packing ends, and rendering
// copies the rest of the format as it stands.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

namespace logging {

// A rendered text is cut at so many bytes, and then ends in "...".
inline constexpr std::size_t kTextLimit = 1000;
inline constexpr std::size_t kTextCapacity = kTextLimit + sizeof "...";

struct PackedArguments {
  // Room for the longest text argument that can show, beside thirty numbers.
  static constexpr std::size_t kRoom = kTextLimit + 280;

  std::uint16_t size = 0;
  bool cut = false;  // not everything found room
  unsigned char bytes[kRoom];
};

// Copies the arguments that `format` names; only bytes in use are written. Real-time safe.
void pack_arguments(PackedArguments& packed, const char* format, std::va_list list);

// Renders the text into `text` (kTextCapacity bytes, ends in NUL); returns its length.
std::size_t render(char* text, const char* format, const PackedArguments& packed);

}  // namespace logging
