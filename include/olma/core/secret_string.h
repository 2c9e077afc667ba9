// A string for passwords, tokens and other secrets.
//
// It owns a private copy of its characters and overwrites them with zeros before the memory goes
// back to the allocator, so a secret does not linger in freed memory after the object is gone.
// Copies get their own buffers; a move hands the buffer over and leaves the source empty. Data
// values never print a secret (they show "<secret>"); str() is for the code that must use it.
//
//   Olma::SecretString password(form.password);
//   Authenticate(user, password.str());
//
// Only the object's own buffer is protected: copies the caller makes of str() are the caller's.
// Distinct objects may be used from different threads; one object is not synchronised.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "olma/core/export.h"

namespace Olma {

class OLMA_API SecretString {
 public:
  SecretString() noexcept = default;
  // Each copies the characters (a const char* up to its NUL; a null pointer gives an empty secret).
  explicit SecretString(std::string_view text);
  explicit SecretString(const std::string& text) : SecretString(std::string_view(text)) {}
  explicit SecretString(const char* text);

  SecretString(const SecretString& other) : SecretString(other.str()) {}
  SecretString(SecretString&& other) noexcept;
  SecretString& operator=(const SecretString& other);
  SecretString& operator=(SecretString&& other) noexcept;
  ~SecretString();

  // The characters; valid until the object is changed or destroyed.
  std::string_view str() const noexcept { return std::string_view(data_ == nullptr ? "" : data_, size_); }
  // The characters followed by a NUL, for C interfaces.
  const char* c_str() const noexcept { return data_ == nullptr ? "" : data_; }
  std::size_t size() const noexcept { return size_; }
  bool empty() const noexcept { return size_ == 0; }

  // Byte-wise comparisons of the contents, as for std::string.
  friend bool operator==(const SecretString& a, const SecretString& b) noexcept { return a.str() == b.str(); }
  friend bool operator!=(const SecretString& a, const SecretString& b) noexcept { return !(a == b); }
  friend bool operator<(const SecretString& a, const SecretString& b) noexcept { return a.str() < b.str(); }

 private:
  // Zeroes and frees the buffer; the object is empty afterwards.
  void Wipe() noexcept;

  char* data_ = nullptr;  // size_ characters and a NUL, or null when empty
  std::size_t size_ = 0;
};

}  // namespace Olma
