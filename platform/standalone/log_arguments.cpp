#include "platform/standalone/log_arguments.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace logging {
namespace {

enum class Kind : std::uint8_t {
  kUnknown,
  kPercent,
  kInt,
  kLong,
  kLongLong,
  kIntMax,
  kSize,
  kDifference,
  kDouble,
  kLongDouble,
  kPointer,
  kText,
};

// One conversion of a format, from its '%' to behind its last character.
struct Conversion {
  const char* begin;
  const char* end;
  bool width_argument = false;
  bool precision_argument = false;
  int precision = -1;  // -1: none
  Kind kind = Kind::kUnknown;
};

const char* skip_digits(const char* at) {
  while (*at >= '0' && *at <= '9') ++at;
  return at;
}

// Beyond any text's length; keeps the number from overflowing.
constexpr int kLargestPrecision = 1'000'000;

int read_number(const char* from, const char* to) {
  int number = 0;
  for (; from != to; ++from) number = std::min(number * 10 + (*from - '0'), kLargestPrecision);
  return number;
}

// The integer that a length modifier names; moves `at` behind the modifier.
Kind read_length(const char*& at) {
  const char length = *at;
  switch (length) {
    case 'h':
      at += at[1] == 'h' ? 2 : 1;
      return Kind::kInt;
    case 'l':
      if (at[1] == 'l') {
        at += 2;
        return Kind::kLongLong;
      }
      ++at;
      return Kind::kLong;
    case 'z':
      ++at;
      return Kind::kSize;
    case 'j':
      ++at;
      return Kind::kIntMax;
    case 't':
      ++at;
      return Kind::kDifference;
    case 'L':
      ++at;
      return Kind::kLongDouble;
    default:
      return Kind::kInt;
  }
}

// What a conversion character takes behind a given length.
Kind argument_kind(char conversion, Kind length) {
  switch (conversion) {
    case 'd':
    case 'i':
    case 'u':
    case 'o':
    case 'x':
    case 'X':
      return length == Kind::kLongDouble ? Kind::kLongLong : length;
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
      return length == Kind::kLongDouble ? Kind::kLongDouble : Kind::kDouble;
    case 'c':
      return length == Kind::kInt ? Kind::kInt : Kind::kUnknown;
    case 's':
      return length == Kind::kInt ? Kind::kText : Kind::kUnknown;
    case 'p':
      return Kind::kPointer;
    default:
      return Kind::kUnknown;
  }
}

// Reads flags, width and precision; moves `at` behind them.
void read_layout(Conversion& conversion, const char*& at) {
  while (*at == '-' || *at == '+' || *at == ' ' || *at == '#' || *at == '0') ++at;
  conversion.width_argument = *at == '*';
  at = conversion.width_argument ? at + 1 : skip_digits(at);
  if (*at != '.') return;
  ++at;
  conversion.precision_argument = *at == '*';
  const char* const digits = at;
  at = conversion.precision_argument ? at + 1 : skip_digits(at);
  if (!conversion.precision_argument) conversion.precision = read_number(digits, at);
}

Conversion read_conversion(const char* begin) {
  Conversion conversion{.begin = begin, .end = begin + 1};
  const char* at = begin + 1;
  if (*at == '%') {
    conversion.kind = Kind::kPercent;
    conversion.end = at + 1;
    return conversion;
  }
  if (*at < 'A') read_layout(conversion, at);  // mostly a letter follows at once
  const Kind length = read_length(at);
  conversion.kind = argument_kind(*at, length);
  if (conversion.kind != Kind::kUnknown) conversion.end = at + 1;
  return conversion;
}

// Calls `use` with a value of the type that a kind of number or pointer has.
template <class Use>
auto with_type(Kind kind, Use&& use) {
  switch (kind) {
    case Kind::kLong:
      return use(0L);
    case Kind::kLongLong:
      return use(0LL);
    case Kind::kIntMax:
      return use(std::intmax_t{});
    case Kind::kSize:
      return use(std::size_t{});
    case Kind::kDifference:
      return use(std::ptrdiff_t{});
    case Kind::kDouble:
      return use(0.0);
    case Kind::kLongDouble:
      return use(0.0L);
    case Kind::kPointer:
      return use(static_cast<void*>(nullptr));
    default:
      return use(0);
  }
}

class Packer {
 public:
  explicit Packer(PackedArguments& packed) : packed_(packed) {}

  template <class T>
  bool Put(T value) {
    if (sizeof value > PackedArguments::kRoom - packed_.size) return Fail();
    std::memcpy(packed_.bytes + packed_.size, &value, sizeof value);
    packed_.size = static_cast<std::uint16_t>(packed_.size + sizeof value);
    return true;
  }

  // At most `precision` bytes of a text, all of it when that is negative.
  bool PutText(const char* text, int precision) {
    if (text == nullptr) text = "(null)";
    const std::size_t room = PackedArguments::kRoom - packed_.size;
    if (room == 0) return Fail();
    const std::size_t limit = std::min(room - 1, kTextLimit + 1);
    const std::size_t wanted = precision < 0 ? SIZE_MAX : static_cast<std::size_t>(precision);
    const std::size_t length = strnlen(text, std::min(limit, wanted));
    std::memcpy(packed_.bytes + packed_.size, text, length);
    packed_.bytes[packed_.size + length] = '\0';
    packed_.size = static_cast<std::uint16_t>(packed_.size + length + 1);
    return length < limit || length == wanted || text[length] == '\0' || Fail();
  }

 private:
  bool Fail() {
    packed_.cut = true;
    return false;
  }

  PackedArguments& packed_;
};

// The text under way; a text that outgrows the limit is full.
class Rendering {
 public:
  Rendering(char* text, const PackedArguments& packed) : text_(text), packed_(packed) {}

  bool IsFull() const { return size_ > kTextLimit; }

  void Copy(const char* from, std::size_t length) {
    length = std::min(length, kTextLimit + 1 - size_);
    std::memcpy(text_ + size_, from, length);
    size_ += length;
  }

  // Prints one conversion with the next arguments; false when there are no more.
  bool Print(const Conversion& conversion) {
    const auto length = static_cast<std::size_t>(conversion.end - conversion.begin);
    std::array<char, 32> spec;
    if (length >= spec.size()) return false;
    std::memcpy(spec.data(), conversion.begin, length);
    spec[length] = '\0';
    int star[2] = {};
    int stars = 0;
    if (conversion.width_argument && !TakeStar(star[stars++])) return false;
    if (conversion.precision_argument && !TakeStar(star[stars++])) return false;
    const auto print = [&](auto value) {
      if (stars == 0) return Format(spec.data(), value);
      if (stars == 1) return Format(spec.data(), star[0], value);
      return Format(spec.data(), star[0], star[1], value);
    };
    if (conversion.kind == Kind::kText) {
      const char* text = nullptr;
      return TakeText(text) && print(text);
    }
    return with_type(conversion.kind, [&](auto value) { return Take(value) && print(value); });
  }

  // Whether the arguments end here because the rest found no room.
  bool IsCutHere() const { return packed_.cut && position_ == packed_.size; }

  std::size_t Finish(bool cut) {
    if (IsFull() || cut) {
      size_ = std::min(size_, kTextLimit);
      std::memcpy(text_ + size_, "...", 3);
      size_ += 3;
    }
    text_[size_] = '\0';
    return size_;
  }

 private:
  template <class T>
  bool Take(T& value) {
    if (sizeof value > static_cast<std::size_t>(packed_.size - position_)) return false;
    std::memcpy(&value, packed_.bytes + position_, sizeof value);
    position_ += sizeof value;
    return true;
  }

  // A width or precision; beyond the longest text it makes no difference but takes time.
  bool TakeStar(int& star) {
    constexpr int kLimit = kTextLimit + 1;
    const bool taken = Take(star);
    star = std::clamp(star, -kLimit, kLimit);
    return taken;
  }

  bool TakeText(const char*& text) {
    if (position_ == packed_.size) return false;
    text = reinterpret_cast<const char*>(packed_.bytes + position_);
    position_ += std::strlen(text) + 1;
    return true;
  }

  template <class... Arguments>
  bool Format(const char* spec, Arguments... arguments) {
    const std::size_t room = kTextLimit + 1 - size_;
    const int length = std::snprintf(text_ + size_, room + 1, spec, arguments...);
    if (length > 0) size_ += std::min(static_cast<std::size_t>(length), room);
    return true;
  }

  char* text_;
  std::size_t size_ = 0;
  const PackedArguments& packed_;
  std::size_t position_ = 0;
};

}  // namespace

void pack_arguments(PackedArguments& packed, const char* format, std::va_list list) {
  packed.size = 0;
  packed.cut = false;
  Packer packer(packed);
  // A parameter of this type is a pointer on some machines; a copy of our own never is.
  struct {
    std::va_list list;
  } arguments;
  va_copy(arguments.list, list);
  // NOLINTBEGIN(clang-analyzer-valist.Uninitialized): it does not see the copy in a member.
  bool more = true;
  for (const char* at = std::strchr(format, '%'); more && at != nullptr;) {
    Conversion conversion = read_conversion(at);
    at = std::strchr(conversion.end, '%');
    if (conversion.kind == Kind::kPercent) continue;
    if (conversion.kind == Kind::kUnknown) break;
    if (conversion.width_argument) more = packer.Put(va_arg(arguments.list, int));
    if (conversion.precision_argument) {
      conversion.precision = va_arg(arguments.list, int);
      more = more && packer.Put(conversion.precision);
    }
    if (!more) break;
    if (conversion.kind == Kind::kText) {
      more = packer.PutText(va_arg(arguments.list, const char*), conversion.precision);
    } else {
      more = with_type(conversion.kind, [&](auto value) {
        return packer.Put(va_arg(arguments.list, decltype(value)));
      });
    }
  }
  // NOLINTEND(clang-analyzer-valist.Uninitialized)
  va_end(arguments.list);
}

std::size_t render(char* text, const char* format, const PackedArguments& packed) {
  Rendering rendering(text, packed);
  const char* at = format;
  bool cut = false;
  while (!cut && !rendering.IsFull()) {
    const std::size_t literal = std::strcspn(at, "%");
    rendering.Copy(at, literal);
    at += literal;
    if (*at == '\0') break;
    const Conversion conversion = read_conversion(at);
    if (conversion.kind == Kind::kUnknown) {
      rendering.Copy(at, std::strlen(at));
      break;
    }
    at = conversion.end;
    if (conversion.kind == Kind::kPercent) {
      rendering.Copy("%", 1);
    } else {
      cut = !rendering.Print(conversion) || rendering.IsCutHere();
    }
  }
  return rendering.Finish(cut);
}

}  // namespace logging
