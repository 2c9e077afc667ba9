#include "olma/data/scalar_values.h"

#include <memory>
#include <utility>

#include "data/value_tree.h"
#include "olma/data/value_visitor.h"

namespace Olma {
namespace Data {

VoidValue::PtrType VoidValue::GetInstance() {
  return std::make_shared<VoidValue>(PrivConstructor());
}

void VoidValue::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitVoid(std::static_pointer_cast<const VoidValue>(shared_from_this()));
}

void VoidValue::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitVoid(std::static_pointer_cast<VoidValue>(shared_from_this()));
}

std::string VoidValue::ToString() const {
  return "NULL";
}

IntegerValue::PtrType IntegerValue::GetInstance(long long value) {
  return std::make_shared<IntegerValue>(PrivConstructor(), value);
}

void IntegerValue::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitInteger(std::static_pointer_cast<const IntegerValue>(shared_from_this()));
}

void IntegerValue::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitInteger(std::static_pointer_cast<IntegerValue>(shared_from_this()));
}

std::string IntegerValue::ToString() const {
  std::string out;
  Detail::AppendInteger(value_, out);
  return out;
}

DoubleValue::PtrType DoubleValue::GetInstance(double value) {
  return std::make_shared<DoubleValue>(PrivConstructor(), value);
}

void DoubleValue::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitDouble(std::static_pointer_cast<const DoubleValue>(shared_from_this()));
}

void DoubleValue::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitDouble(std::static_pointer_cast<DoubleValue>(shared_from_this()));
}

std::string DoubleValue::ToString() const {
  std::string out;
  Detail::AppendDouble(value_, out);
  return out;
}

BooleanValue::PtrType BooleanValue::GetInstance(bool value) {
  return std::make_shared<BooleanValue>(PrivConstructor(), value);
}

void BooleanValue::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitBoolean(std::static_pointer_cast<const BooleanValue>(shared_from_this()));
}

void BooleanValue::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitBoolean(std::static_pointer_cast<BooleanValue>(shared_from_this()));
}

std::string BooleanValue::ToString() const {
  return value_ ? "1" : "0";
}

BlobValue::PtrType BlobValue::GetInstance() {
  return std::make_shared<BlobValue>(PrivConstructor(), ByteVector());
}

BlobValue::PtrType BlobValue::GetInstance(ByteVector value) {
  return std::make_shared<BlobValue>(PrivConstructor(), std::move(value));
}

void BlobValue::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitBlob(std::static_pointer_cast<const BlobValue>(shared_from_this()));
}

void BlobValue::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitBlob(std::static_pointer_cast<BlobValue>(shared_from_this()));
}

std::string BlobValue::ToString() const {
  std::string out;
  Detail::AppendBlob(value_, out);
  return out;
}

StringValue::PtrType StringValue::GetInstance(std::string value) {
  return std::make_shared<StringValue>(PrivConstructor(), std::move(value));
}

void StringValue::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitString(std::static_pointer_cast<const StringValue>(shared_from_this()));
}

void StringValue::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitString(std::static_pointer_cast<StringValue>(shared_from_this()));
}

std::string StringValue::ToString() const {
  return value_;
}

SecretValue::PtrType SecretValue::GetInstance(SecretString value) {
  return std::make_shared<SecretValue>(PrivConstructor(), std::move(value));
}

void SecretValue::AcceptVisitor(ValueVisitor& visitor) const {
  visitor.VisitSecret(std::static_pointer_cast<const SecretValue>(shared_from_this()));
}

void SecretValue::AcceptVisitor(MutableValueVisitor& visitor) {
  visitor.VisitSecret(std::static_pointer_cast<SecretValue>(shared_from_this()));
}

std::string SecretValue::ToString() const {
  return "<secret>";
}

}  // namespace Data
}  // namespace Olma
