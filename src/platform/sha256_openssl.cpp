#include <openssl/evp.h>

#include "platform/sha256.hpp"

namespace volp::platform {

Sha256::Sha256() {
  EVP_MD_CTX* c = EVP_MD_CTX_new();
  if (c != nullptr && EVP_DigestInit_ex(c, EVP_sha256(), nullptr) != 1) {
    EVP_MD_CTX_free(c);
    c = nullptr;
  }
  ctx_ = c;
}

Sha256::~Sha256() { EVP_MD_CTX_free(static_cast<EVP_MD_CTX*>(ctx_)); }

bool Sha256::Update(const char* data, size_t n) {
  return n == 0 || EVP_DigestUpdate(static_cast<EVP_MD_CTX*>(ctx_), data, n) == 1;
}

bool Sha256::CopyFrom(const Sha256& from) {
  return ctx_ != nullptr && from.ctx_ != nullptr &&
         EVP_MD_CTX_copy_ex(static_cast<EVP_MD_CTX*>(ctx_),
                            static_cast<const EVP_MD_CTX*>(from.ctx_)) == 1;
}

bool Sha256::Final(std::string* hex) {
  unsigned char md[EVP_MAX_MD_SIZE];
  unsigned int len = 0;
  if (EVP_DigestFinal_ex(static_cast<EVP_MD_CTX*>(ctx_), md, &len) != 1) return false;
  *hex = HexUpper(md, len);
  return true;
}

}  // namespace volp::platform
