// The scalar values: void, integer, double, boolean, blob, string and secret.
//
// A scalar holds one native payload, fixed by its factory and read through value():
//
//   auto answer = Olma::Data::IntegerValue::GetInstance(42);
//   answer->value();       // 42
//   answer->ToString();    // "42"
//
// Renderings: void "NULL"; integers in decimal; doubles with six decimals ("1.500000");
// booleans "1" or "0"; blobs as each byte in hexadecimal followed by a blank ("0x1f 0xa 0 ",
// zero without prefix); strings as themselves, without quotes; secrets always "<secret>".
//
// Scalars are immutable; every operation here is safe from any number of threads.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "olma/core/byte_vector.h"
#include "olma/core/export.h"
#include "olma/core/secret_string.h"
#include "olma/data/value.h"

namespace Olma {
namespace Data {

// The value of no value: a method without result returns one.
class OLMA_API VoidValue final : public DataValue {
 public:
  using PtrType = std::shared_ptr<VoidValue>;
  using PtrConstType = std::shared_ptr<const VoidValue>;

  [[nodiscard]] static PtrType GetInstance();

  explicit VoidValue(PrivConstructor tag) noexcept : DataValue(tag) {}

  DataType type() const override { return DataType::VOID; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  // "NULL".
  std::string ToString() const override;
};

// A signed 64-bit integer.
class OLMA_API IntegerValue final : public DataValue {
 public:
  using PtrType = std::shared_ptr<IntegerValue>;
  using PtrConstType = std::shared_ptr<const IntegerValue>;

  [[nodiscard]] static PtrType GetInstance(long long value);

  IntegerValue(PrivConstructor tag, long long value) noexcept : DataValue(tag), value_(value) {}

  long long value() const noexcept { return value_; }

  DataType type() const override { return DataType::INTEGER; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  // Decimal, as printf "%lld".
  std::string ToString() const override;

 private:
  long long value_;
};

// A 64-bit IEEE double.
class OLMA_API DoubleValue final : public DataValue {
 public:
  using PtrType = std::shared_ptr<DoubleValue>;
  using PtrConstType = std::shared_ptr<const DoubleValue>;

  [[nodiscard]] static PtrType GetInstance(double value);

  DoubleValue(PrivConstructor tag, double value) noexcept : DataValue(tag), value_(value) {}

  double value() const noexcept { return value_; }

  DataType type() const override { return DataType::DOUBLE; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  // As printf "%lf": "1.500000"; infinities and NaN as printf shows them.
  std::string ToString() const override;

 private:
  double value_;
};

class OLMA_API BooleanValue final : public DataValue {
 public:
  using PtrType = std::shared_ptr<BooleanValue>;
  using PtrConstType = std::shared_ptr<const BooleanValue>;

  [[nodiscard]] static PtrType GetInstance(bool value);

  BooleanValue(PrivConstructor tag, bool value) noexcept : DataValue(tag), value_(value) {}

  bool value() const noexcept { return value_; }

  DataType type() const override { return DataType::BOOLEAN; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  // "1" or "0", never "true"/"false".
  std::string ToString() const override;

 private:
  bool value_;
};

// A sequence of bytes.
class OLMA_API BlobValue final : public DataValue {
 public:
  using PtrType = std::shared_ptr<BlobValue>;
  using PtrConstType = std::shared_ptr<const BlobValue>;

  // An empty blob.
  [[nodiscard]] static PtrType GetInstance();
  // Takes the bytes (pass an rvalue to hand them over without a copy).
  [[nodiscard]] static PtrType GetInstance(ByteVector value);

  BlobValue(PrivConstructor tag, ByteVector value) noexcept : DataValue(tag), value_(std::move(value)) {}

  const ByteVector& value() const noexcept { return value_; }

  DataType type() const override { return DataType::BLOB; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  // Each byte as printf "%#x" followed by a blank: "0x1f 0xa 0 "; empty for no bytes.
  std::string ToString() const override;

 private:
  ByteVector value_;
};

// A byte string; UTF-8 by convention, never checked here.
class OLMA_API StringValue final : public DataValue {
 public:
  using PtrType = std::shared_ptr<StringValue>;
  using PtrConstType = std::shared_ptr<const StringValue>;

  // Takes the text (pass an rvalue to hand it over without a copy).
  [[nodiscard]] static PtrType GetInstance(std::string value);

  StringValue(PrivConstructor tag, std::string value) noexcept : DataValue(tag), value_(std::move(value)) {}

  const std::string& value() const noexcept { return value_; }

  DataType type() const override { return DataType::STRING; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  // The text itself, without quotes.
  std::string ToString() const override;

 private:
  std::string value_;
};

// A password, token or other secret: its content never appears in any rendering.
class OLMA_API SecretValue final : public DataValue {
 public:
  using PtrType = std::shared_ptr<SecretValue>;
  using PtrConstType = std::shared_ptr<const SecretValue>;

  // Takes the secret (pass an rvalue to hand it over without a copy).
  [[nodiscard]] static PtrType GetInstance(SecretString value);

  SecretValue(PrivConstructor tag, SecretString value) noexcept : DataValue(tag), value_(std::move(value)) {}

  const SecretString& value() const noexcept { return value_; }

  DataType type() const override { return DataType::SECRET; }
  void AcceptVisitor(ValueVisitor& visitor) const override;
  void AcceptVisitor(MutableValueVisitor& visitor) override;
  // "<secret>".
  std::string ToString() const override;

 private:
  SecretString value_;
};

}  // namespace Data
}  // namespace Olma
