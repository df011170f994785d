// How every word of a shared area is read and written.
//
// The areas are packed, other processes and threads write them at any time, and nothing locks them.
// So no reference, pointer or span to a packed member is ever formed: a word is copied in and out
// by value, at a byte offset. All functions: any thread, real-time safe, no failure. A value wider
// than its natural alignment may tear.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#if defined(__SANITIZE_THREAD__)
#define VEK_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VEK_TSAN 1
#endif
#endif

namespace shared {

// A typed word of an area: its offset in bytes from the area's start.
template <class T>
struct Field {
  using Value = T;
  std::size_t offset = 0;
};

template <class T>
concept Word = std::is_trivially_copyable_v<T> && !std::is_pointer_v<T>;

namespace detail {
#ifdef VEK_TSAN
// ThreadSanitizer sees each access as relaxed atomics of the widest unit that the address allows.
template <class Unit>
void copy_units(unsigned char* to, const unsigned char* from, std::size_t size, bool from_shared) {
  for (std::size_t k = 0; k < size; k += sizeof(Unit)) {
    Unit unit;
    if (from_shared) {
      unit = __atomic_load_n(reinterpret_cast<const Unit*>(from + k), __ATOMIC_RELAXED);
      std::memcpy(to + k, &unit, sizeof unit);
    } else {
      std::memcpy(&unit, from + k, sizeof unit);
      __atomic_store_n(reinterpret_cast<Unit*>(to + k), unit, __ATOMIC_RELAXED);
    }
  }
}

inline void copy(void* to, const void* from, std::size_t size, bool from_shared) {
  auto* t = static_cast<unsigned char*>(to);
  const auto* f = static_cast<const unsigned char*>(from);
  const auto where = reinterpret_cast<std::uintptr_t>(from_shared ? from : to) | size;
  if (where % 4 == 0) {
    copy_units<std::uint32_t>(t, f, size, from_shared);
  } else if (where % 2 == 0) {
    copy_units<std::uint16_t>(t, f, size, from_shared);
  } else {
    copy_units<std::uint8_t>(t, f, size, from_shared);
  }
}
#else
inline void copy(void* to, const void* from, std::size_t size, bool) {
  std::memcpy(to, from, size);
}
#endif
}  // namespace detail

// Copies `size` bytes out of or into an area.
inline void read_bytes(void* to, const void* from_area, std::size_t size) {
  detail::copy(to, from_area, size, true);
}
inline void write_bytes(void* to_area, const void* from, std::size_t size) {
  detail::copy(to_area, from, size, false);
}

// The word at an address inside an area; the address need not be aligned.
template <Word T>
T load(const void* at) {
  T value;
  read_bytes(&value, at, sizeof value);
  return value;
}
template <Word T>
void store(void* at, std::type_identity_t<T> value) {
  write_bytes(at, &value, sizeof value);
}

// The word of a field, or the element `index` of an array field. The caller keeps the index inside
// the array.
template <Word T>
T load(const void* area, Field<T> field, std::size_t index = 0) {
  return load<T>(static_cast<const unsigned char*>(area) + field.offset + index * sizeof(T));
}
template <Word T>
void store(void* area, Field<T> field, std::type_identity_t<T> value, std::size_t index = 0) {
  store<T>(static_cast<unsigned char*>(area) + field.offset + index * sizeof(T), value);
}

// A word of 1, 2 or 4 bytes that announces other data: read with acquire, written with release. The
// field must lie at its natural alignment.
template <Word T>
T load_acquire(const void* area, Field<T> field) {
  static_assert(sizeof(T) <= 4);
  T value;
  __atomic_load(reinterpret_cast<const T*>(static_cast<const unsigned char*>(area) + field.offset),
                &value, __ATOMIC_ACQUIRE);
  return value;
}
template <Word T>
void store_release(void* area, Field<T> field, std::type_identity_t<T> value) {
  static_assert(sizeof(T) <= 4);
  __atomic_store(reinterpret_cast<T*>(static_cast<unsigned char*>(area) + field.offset), &value,
                 __ATOMIC_RELEASE);
}

// For a word that two processes may both set: writes `value` only while the word still is
// `expected`; true when it was.
template <Word T>
bool replace(void* area, Field<T> field, std::type_identity_t<T> expected,
             std::type_identity_t<T> value) {
  static_assert(sizeof(T) <= 4);
  return __atomic_compare_exchange(
      reinterpret_cast<T*>(static_cast<unsigned char*>(area) + field.offset), &expected, &value,
      false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE);
}

}  // namespace shared

// The typed offset of a member: SHARED_FIELD(SysInfo, group[2].standstill). An array member gives
// its element type.
// NOLINTBEGIN(bugprone-macro-parentheses): neither a type nor a member takes parentheses here.
#define SHARED_FIELD(area, member)                                                             \
  (::shared::Field<                                                                            \
      std::remove_all_extents_t<std::remove_cvref_t<decltype(std::declval<area&>().member)>>>{ \
      offsetof(area, member)})
// NOLINTEND(bugprone-macro-parentheses)
