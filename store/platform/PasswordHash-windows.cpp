// clang-format off
#include <windows.h>
#include <argon2.h>
// clang-format on

#include <new>

#include "platform/PasswordHash.h"
#include "platform/Random.h"

// The Argon2 sources bring BLAKE2b along, declared in a header of theirs
// that is not installed.
extern "C" int blake2b(void* out, std::size_t outlen, const void* in, std::size_t inlen,
                       const void* key, std::size_t keylen);

namespace xo::platform {
namespace {

constexpr std::size_t kSaltBytes = 16;
constexpr std::size_t kHashBytes = 32;

}  // namespace

std::string HashArgon2id(const std::string& password, HashCost cost) {
  unsigned char salt[kSaltBytes];
  RandomBytes(salt, sizeof salt);
  const auto memoryKiB = static_cast<uint32_t>(cost.memoryBytes / 1024);
  std::string encoded(
      argon2_encodedlen(cost.passes, memoryKiB, 1, kSaltBytes, kHashBytes, Argon2_id), '\0');
  if (argon2id_hash_encoded(cost.passes, memoryKiB, 1, password.data(), password.size(), salt,
                            kSaltBytes, kHashBytes, encoded.data(), encoded.size()) != ARGON2_OK) {
    throw std::bad_alloc();
  }
  encoded.resize(encoded.find('\0'));
  return encoded;
}

bool VerifyArgon2id(const std::string& hash, const std::string& password) {
  return argon2id_verify(hash.c_str(), password.data(), password.size()) == ARGON2_OK;
}

std::string DigestHex(const std::string& text) {
  unsigned char digest[32];
  if (blake2b(digest, sizeof digest, text.data(), text.size(), nullptr, 0) != 0) {
    throw std::bad_alloc();
  }
  return HexOf(digest, sizeof digest);
}

void WipeMemory(void* data, std::size_t size) { SecureZeroMemory(data, size); }

}  // namespace xo::platform
