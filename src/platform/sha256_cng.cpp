// SHA-256 through Windows' CNG (bcrypt.dll): one algorithm provider and one
// hash object per digest.
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
// windows.h first: bcrypt.h needs its types.
#include <bcrypt.h>

#include "platform/sha256.hpp"

namespace volp::platform {

namespace {
constexpr ULONG kDigestBytes = 32;
bool Succeeded(NTSTATUS s) { return s >= 0; }
}  // namespace

Sha256::Sha256() {
  BCRYPT_ALG_HANDLE alg = nullptr;
  if (!Succeeded(BCryptOpenAlgorithmProvider(&alg, BCRYPT_SHA256_ALGORITHM, nullptr, 0))) return;
  BCRYPT_HASH_HANDLE hash = nullptr;
  // With no buffer given, CNG keeps the hash object's memory itself.
  if (!Succeeded(BCryptCreateHash(alg, &hash, nullptr, 0, nullptr, 0, 0))) {
    BCryptCloseAlgorithmProvider(alg, 0);
    return;
  }
  provider_ = alg;
  ctx_ = hash;
}

Sha256::~Sha256() {
  if (ctx_ != nullptr) BCryptDestroyHash(static_cast<BCRYPT_HASH_HANDLE>(ctx_));
  if (provider_ != nullptr)
    BCryptCloseAlgorithmProvider(static_cast<BCRYPT_ALG_HANDLE>(provider_), 0);
}

bool Sha256::Update(const char* data, size_t n) {
  // CNG takes at most a ULONG of bytes per call.
  while (n > 0) {
    const ULONG chunk = n > 0x40000000 ? 0x40000000 : static_cast<ULONG>(n);
    if (!Succeeded(BCryptHashData(static_cast<BCRYPT_HASH_HANDLE>(ctx_),
                                  reinterpret_cast<PUCHAR>(const_cast<char*>(data)), chunk, 0)))
      return false;
    data += chunk;
    n -= chunk;
  }
  return true;
}

bool Sha256::CopyFrom(const Sha256& from) {
  if (from.ctx_ == nullptr || provider_ == nullptr) return false;
  BCRYPT_HASH_HANDLE copy = nullptr;
  // Like the original, the copy keeps its hash object's memory in CNG's hands.
  if (!Succeeded(
          BCryptDuplicateHash(static_cast<BCRYPT_HASH_HANDLE>(from.ctx_), &copy, nullptr, 0, 0)))
    return false;
  if (ctx_ != nullptr) BCryptDestroyHash(static_cast<BCRYPT_HASH_HANDLE>(ctx_));
  ctx_ = copy;
  return true;
}

bool Sha256::Final(std::string* hex) {
  unsigned char md[kDigestBytes];
  if (!Succeeded(BCryptFinishHash(static_cast<BCRYPT_HASH_HANDLE>(ctx_), md, kDigestBytes, 0)))
    return false;
  *hex = HexUpper(md, kDigestBytes);
  return true;
}

}  // namespace volp::platform
