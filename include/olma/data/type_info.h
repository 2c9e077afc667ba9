// TypeInfo: the name a native type carries when it crosses into values and messages, and
// Enum, the base of native enumerations that travel as the names of their enumerators.
//
// Scalars have fixed names ("Long", "Double", "Boolean", "Blob", "String", "SecretString",
// "DateTime", "Void", "DataType"). A native structure or enumeration names itself in one of
// two ways, whichever suits the type's owner:
//
//   struct Point {                                   // a static member ...
//     static constexpr std::string_view kTypeName = "com.example.point";
//     long long x = 0, y = 0;
//   };
//   template <> struct Olma::Data::TypeInfo<Other> {  // ... or a specialisation
//     static constexpr std::string_view name() noexcept { return "com.example.other"; }
//   };
//
// A native enumeration derives from Enum and lists the wire names of its enumerators in
// order; the enumerator with number i travels as kNames[i]:
//
//   struct Colour : Olma::Data::Enum<Colour, ColourCode> {
//     static constexpr std::string_view kTypeName = "colour";
//     static constexpr std::array<std::string_view, 2> kNames{"red", "green"};
//     using Enum::Enum;
//   };
//
// Everything here is compile-time constant data; safe from any thread.
#pragma once

#include <cstddef>
#include <string_view>
#include <type_traits>

#include "olma/core/byte_vector.h"
#include "olma/data/data_type.h"
#include "olma/data/native_markers.h"

namespace Olma {

class DateTime;
class SecretString;

namespace Data {

// The display name of a native type. The primary template serves types that declare a
// static member kTypeName; the library specialises it for its scalars.
template <class T, class = void>
struct TypeInfo;

template <class T>
struct TypeInfo<T, std::void_t<decltype(T::kTypeName)>> {
  static constexpr std::string_view name() noexcept { return T::kTypeName; }
};

template <>
struct TypeInfo<Void> {
  static constexpr std::string_view name() noexcept { return "Void"; }
};
template <>
struct TypeInfo<long long> {
  static constexpr std::string_view name() noexcept { return "Long"; }
};
template <>
struct TypeInfo<double> {
  static constexpr std::string_view name() noexcept { return "Double"; }
};
template <>
struct TypeInfo<bool> {
  static constexpr std::string_view name() noexcept { return "Boolean"; }
};
template <>
struct TypeInfo<ByteVector> {
  static constexpr std::string_view name() noexcept { return "Blob"; }
};
template <>
struct TypeInfo<std::string> {
  static constexpr std::string_view name() noexcept { return "String"; }
};
template <>
struct TypeInfo<SecretString> {
  static constexpr std::string_view name() noexcept { return "SecretString"; }
};
template <>
struct TypeInfo<DateTime> {
  static constexpr std::string_view name() noexcept { return "DateTime"; }
};
template <>
struct TypeInfo<DataType> {
  static constexpr std::string_view name() noexcept { return "DataType"; }
};

// Whether TypeInfo<T> names T.
template <class T, class = void>
inline constexpr bool kHasTypeName = false;
template <class T>
inline constexpr bool kHasTypeName<T, std::void_t<decltype(TypeInfo<T>::name())>> = true;

// The common base of every Enum, by which the adapters recognise enumerations.
struct EnumBase {};

// A native enumeration over the C++ enumeration E whose enumerators are numbered 0 to
// N-1. Self provides kTypeName and kNames (see the top of this file).
template <class Self, class E>
class Enum : public EnumBase {
 public:
  using EnumType = E;

  constexpr Enum(E value = E{}) noexcept : value_(value) {}
  constexpr E value() const noexcept { return value_; }
  constexpr operator E() const noexcept { return value_; }

  // The wire name of the enumerator, or an empty view for a number outside the table.
  constexpr std::string_view name() const noexcept {
    const auto number = static_cast<std::size_t>(value_);
    return number < Self::kNames.size() ? Self::kNames[number] : std::string_view();
  }

  // Finds the enumerator named `name`; false, and `out` unchanged, when there is none.
  static constexpr bool FromName(std::string_view name, Self& out) noexcept {
    for (std::size_t i = 0; i < Self::kNames.size(); ++i) {
      if (Self::kNames[i] == name) {
        out = Self(static_cast<E>(i));
        return true;
      }
    }
    return false;
  }

  friend constexpr bool operator==(const Enum& a, const Enum& b) noexcept { return a.value_ == b.value_; }
  friend constexpr bool operator!=(const Enum& a, const Enum& b) noexcept { return a.value_ != b.value_; }
  friend constexpr bool operator<(const Enum& a, const Enum& b) noexcept { return a.value_ < b.value_; }

 private:
  E value_;
};

}  // namespace Data
}  // namespace Olma
