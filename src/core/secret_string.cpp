#include "olma/core/secret_string.h"

#include <cstring>
#include <utility>

namespace Olma {
namespace {

// A plain memset before delete is a dead store the optimiser may drop; writing through a volatile
// pointer is not.
void Zero(char* data, std::size_t size) noexcept {
  volatile char* p = data;
  for (std::size_t i = 0; i < size; ++i) p[i] = 0;
}

}  // namespace

SecretString::SecretString(std::string_view text) : size_(text.size()) {
  if (size_ == 0) return;
  data_ = new char[size_ + 1];
  std::memcpy(data_, text.data(), size_);
  data_[size_] = '\0';
}

SecretString::SecretString(const char* text)
    : SecretString(text == nullptr ? std::string_view() : std::string_view(text)) {}

SecretString::SecretString(SecretString&& other) noexcept
    : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}

SecretString& SecretString::operator=(const SecretString& other) {
  if (this != &other) {
    SecretString copy(other);
    *this = std::move(copy);
  }
  return *this;
}

SecretString& SecretString::operator=(SecretString&& other) noexcept {
  if (this != &other) {
    Wipe();
    data_ = std::exchange(other.data_, nullptr);
    size_ = std::exchange(other.size_, 0);
  }
  return *this;
}

SecretString::~SecretString() {
  Wipe();
}

void SecretString::Wipe() noexcept {
  if (data_ != nullptr) {
    Zero(data_, size_ + 1);
    delete[] data_;
  }
  data_ = nullptr;
  size_ = 0;
}

}  // namespace Olma
