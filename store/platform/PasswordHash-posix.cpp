#include <sodium.h>

#include <new>
#include <stdexcept>

#include "platform/PasswordHash.h"
#include "platform/Random.h"

namespace xo::platform {
namespace {

void RequireSodium() {
  if (sodium_init() < 0) throw std::runtime_error("libsodium failed to initialise");
}

}  // namespace

std::string HashArgon2id(const std::string& password, HashCost cost) {
  RequireSodium();
  char hash[crypto_pwhash_STRBYTES];
  if (crypto_pwhash_str_alg(hash, password.data(), password.size(), cost.passes, cost.memoryBytes,
                            crypto_pwhash_ALG_ARGON2ID13) != 0) {
    throw std::bad_alloc();
  }
  return hash;
}

bool VerifyArgon2id(const std::string& hash, const std::string& password) {
  RequireSodium();
  return crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0;
}

std::string DigestHex(const std::string& text) {
  RequireSodium();
  unsigned char digest[32];
  crypto_generichash(digest, sizeof digest, reinterpret_cast<const unsigned char*>(text.data()),
                     text.size(), nullptr, 0);
  return HexOf(digest, sizeof digest);
}

void WipeMemory(void* data, std::size_t size) { sodium_memzero(data, size); }

}  // namespace xo::platform
