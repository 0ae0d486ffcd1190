// SHA-256 of the input, computed in the same pass that validates it: OpenSSL's
// libcrypto on POSIX (sha256_openssl.cpp), the system's CNG provider on
// Windows (sha256_cng.cpp).
#pragma once

#include <cstddef>
#include <string>

namespace volp::platform {

class Sha256 {
 public:
  Sha256();
  ~Sha256();
  Sha256(const Sha256&) = delete;
  Sha256& operator=(const Sha256&) = delete;

  // False when the digest could not be set up (the run reports E#C9105).
  bool ok() const { return ctx_ != nullptr; }
  bool Update(const char* data, size_t n);
  // Makes this digest's state a copy of `from`'s, as if the same bytes had
  // been fed to it; false on failure (this digest is then unusable).
  bool CopyFrom(const Sha256& from);
  // 64 upper-case hex digits, first byte first; false on failure.
  bool Final(std::string* hex);

 private:
  void* ctx_ = nullptr;                        // EVP_MD_CTX or BCRYPT_HASH_HANDLE
  [[maybe_unused]] void* provider_ = nullptr;  // BCRYPT_ALG_HANDLE (Windows only)
};

inline std::string HexUpper(const unsigned char* bytes, size_t n) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(n * 2);
  for (size_t i = 0; i < n; ++i) {
    out.push_back(kHex[bytes[i] >> 4]);
    out.push_back(kHex[bytes[i] & 15]);
  }
  return out;
}

}  // namespace volp::platform
