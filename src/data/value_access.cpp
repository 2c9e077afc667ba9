#include "olma/data/value_access.h"

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include <boost/lexical_cast.hpp>

#include "olma/core/base64.h"
#include "olma/data/values.h"

namespace Olma {
namespace Data {
namespace DataValueHelper {
namespace {

// The native type each scalar value class holds; composites have none.
template <class Source>
struct ScalarTraits {
  static constexpr bool kIsScalar = false;
};

#define OLMA_DATA_SCALAR_TRAITS(Source, NativeType) \
  template <>                                       \
  struct ScalarTraits<Source> {                     \
    static constexpr bool kIsScalar = true;         \
    using Native = NativeType;                      \
  }

OLMA_DATA_SCALAR_TRAITS(VoidValue, Void);
OLMA_DATA_SCALAR_TRAITS(IntegerValue, long long);
OLMA_DATA_SCALAR_TRAITS(DoubleValue, double);
OLMA_DATA_SCALAR_TRAITS(BooleanValue, bool);
OLMA_DATA_SCALAR_TRAITS(BlobValue, ByteVector);
OLMA_DATA_SCALAR_TRAITS(StringValue, std::string);
OLMA_DATA_SCALAR_TRAITS(SecretValue, SecretString);

#undef OLMA_DATA_SCALAR_TRAITS

Void Payload(const VoidValue&) noexcept {
  return Void{};
}

template <class Source>
decltype(auto) Payload(const Source& source) noexcept {
  return source.value();
}

// "Bad cast: {1} -> T".
template <class T>
bool BadCast(std::string_view source_name, MessageList& messages) {
  messages.push_back(Message<CoreTag>("olma.data.bad.cast2", source_name, TypeInfo<T>::name()));
  return false;
}

// "Bad cast: String -> T : {3}".
template <class T>
bool BadTextCast(std::string_view detail, MessageList& messages) {
  messages.push_back(
      Message<CoreTag>("olma.data.bad.cast3", TypeInfo<std::string>::name(), TypeInfo<T>::name(), detail));
  return false;
}

// Converts a value of class Source to T under Mode. The general rule, shared by both
// modes: a scalar of the matching class converts, any other source fails.
template <class Mode, class Source, class T>
struct Rule {
  static bool Cast(const Source& source, T& out, MessageList& messages) {
    if constexpr (ScalarTraits<Source>::kIsScalar) {
      using Native = typename ScalarTraits<Source>::Native;
      if constexpr (std::is_same_v<Native, T>) {
        out = Payload(source);
        return true;
      } else {
        return BadCast<T>(TypeInfo<Native>::name(), messages);
      }
    } else {
      return BadCast<T>(to_string(source.type()), messages);
    }
  }
};

// A date-time travels as its text, so both modes parse it.
template <class Mode>
struct Rule<Mode, StringValue, DateTime> {
  static bool Cast(const StringValue& source, DateTime& out, MessageList& messages) {
    // Create leaves `out` alone when the text does not parse.
    return DateTime::Create(source.value(), out) || BadTextCast<DateTime>(source.value(), messages);
  }
};

// The whole text through the lexical conversion; `out` is only written on success.
template <class N>
bool LexicalConvert(const std::string& text, N& out) {
  N parsed{};
  if (!boost::conversion::try_lexical_convert(text, parsed)) return false;
  out = parsed;
  return true;
}

// The loose mode reads scalars from text as well.

template <>
struct Rule<Loose, StringValue, bool> {
  static bool Cast(const StringValue& source, bool& out, MessageList& messages) {
    const std::string& text = source.value();
    if (text == "true") {
      out = true;
    } else if (text == "false") {
      out = false;
    } else if (!LexicalConvert(text, out)) {
      return BadCast<bool>(TypeInfo<std::string>::name(), messages);
    }
    return true;
  }
};

template <>
struct Rule<Loose, StringValue, long long> {
  static bool Cast(const StringValue& source, long long& out, MessageList& messages) {
    return LexicalConvert(source.value(), out) || BadCast<long long>(TypeInfo<std::string>::name(), messages);
  }
};

template <>
struct Rule<Loose, StringValue, double> {
  static bool Cast(const StringValue& source, double& out, MessageList& messages) {
    return LexicalConvert(source.value(), out) || BadCast<double>(TypeInfo<std::string>::name(), messages);
  }
};

template <>
struct Rule<Loose, StringValue, ByteVector> {
  static bool Cast(const StringValue& source, ByteVector& out, MessageList& messages) {
    std::string error;
    out = Base64::Decode(source.value(), error);
    return error.empty() || BadTextCast<ByteVector>(error, messages);
  }
};

template <>
struct Rule<Loose, StringValue, Void> {
  static bool Cast(const StringValue& source, Void& out, MessageList& messages) {
    if (!source.value().empty()) return BadTextCast<Void>(source.value(), messages);
    out = Void{};
    return true;
  }
};

template <>
struct Rule<Loose, StringValue, SecretString> {
  static bool Cast(const StringValue& source, SecretString& out, MessageList&) {
    out = SecretString(source.value());
    return true;
  }
};

}  // namespace

#define OLMA_DATA_VISIT_SLOT(Slot, Source)                                        \
  template <class Mode, class T>                                                  \
  void ValueToNativeVisitor<Mode, T>::Slot(std::shared_ptr<const Source> value) { \
    result_ = Rule<Mode, Source, T>::Cast(*value, out_, messages_);               \
  }

OLMA_DATA_VISIT_SLOT(VisitVoid, VoidValue)
OLMA_DATA_VISIT_SLOT(VisitInteger, IntegerValue)
OLMA_DATA_VISIT_SLOT(VisitDouble, DoubleValue)
OLMA_DATA_VISIT_SLOT(VisitBoolean, BooleanValue)
OLMA_DATA_VISIT_SLOT(VisitBlob, BlobValue)
OLMA_DATA_VISIT_SLOT(VisitString, StringValue)
OLMA_DATA_VISIT_SLOT(VisitSecret, SecretValue)
OLMA_DATA_VISIT_SLOT(VisitError, ErrorValue)
OLMA_DATA_VISIT_SLOT(VisitOptional, OptionalValue)
OLMA_DATA_VISIT_SLOT(VisitList, ListValue)
OLMA_DATA_VISIT_SLOT(VisitListBool, ListValueBool)
OLMA_DATA_VISIT_SLOT(VisitListLong, ListValueLong)
OLMA_DATA_VISIT_SLOT(VisitListDouble, ListValueDouble)
OLMA_DATA_VISIT_SLOT(VisitListBlob, ListValueBlob)
OLMA_DATA_VISIT_SLOT(VisitListString, ListValueString)
OLMA_DATA_VISIT_SLOT(VisitListSecret, ListValueSecret)
OLMA_DATA_VISIT_SLOT(VisitStruct, StructValue)

#undef OLMA_DATA_VISIT_SLOT

namespace {

template <class Mode, class T>
bool Convert(const DataValue::PtrConstType& value, T& out, MessageList& messages) {
  if (!value) return BadCast<T>("<unset>", messages);
  ValueToNativeVisitor<Mode, T> visitor(out, messages);
  value->AcceptVisitor(visitor);
  return visitor.result();
}

}  // namespace
}  // namespace DataValueHelper

template <class T>
bool DataValue::Value(const PtrConstType& value, T& out, MessageList& messages) {
  return DataValueHelper::Convert<DataValueHelper::Strict>(value, out, messages);
}

template <class T>
bool DataValue::ToPrimitive(const PtrConstType& value, T& out, MessageList& messages) {
  return DataValueHelper::Convert<DataValueHelper::Loose>(value, out, messages);
}

#define OLMA_DATA_INSTANTIATE_VALUE_TO_NATIVE(T)                                       \
  template class DataValueHelper::ValueToNativeVisitor<DataValueHelper::Strict, T>;    \
  template class DataValueHelper::ValueToNativeVisitor<DataValueHelper::Loose, T>;     \
  template bool DataValue::Value<T>(const DataValue::PtrConstType&, T&, MessageList&); \
  template bool DataValue::ToPrimitive<T>(const DataValue::PtrConstType&, T&, MessageList&)

OLMA_DATA_INSTANTIATE_VALUE_TO_NATIVE(Void);
OLMA_DATA_INSTANTIATE_VALUE_TO_NATIVE(long long);
OLMA_DATA_INSTANTIATE_VALUE_TO_NATIVE(double);
OLMA_DATA_INSTANTIATE_VALUE_TO_NATIVE(bool);
OLMA_DATA_INSTANTIATE_VALUE_TO_NATIVE(ByteVector);
OLMA_DATA_INSTANTIATE_VALUE_TO_NATIVE(std::string);
OLMA_DATA_INSTANTIATE_VALUE_TO_NATIVE(SecretString);
OLMA_DATA_INSTANTIATE_VALUE_TO_NATIVE(DateTime);

#undef OLMA_DATA_INSTANTIATE_VALUE_TO_NATIVE

}  // namespace Data
}  // namespace Olma
