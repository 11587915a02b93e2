// Argon2id password hashes in the standard encoded form
// "$argon2id$v=19$m=<KiB>,t=<passes>,p=1$<salt>$<hash>" (16-byte salt,
// 32-byte hash), which every Argon2 implementation reads.
#pragma once

#include <cstddef>
#include <string>

namespace xo::platform {

struct HashCost {
  unsigned passes;
  std::size_t memoryBytes;
};

// Throws std::bad_alloc when the hash cannot be computed.
std::string HashArgon2id(const std::string& password, HashCost cost);
// True when `password` matches the encoded `hash`.
bool VerifyArgon2id(const std::string& hash, const std::string& password);
// BLAKE2b with a 32-byte output, unkeyed, as 64 lowercase hex digits: the
// same digest on every platform, so that a store moved between them keeps
// what it recorded.
std::string DigestHex(const std::string& text);
// Overwrites memory in a way the compiler keeps.
void WipeMemory(void* data, std::size_t size);

}  // namespace xo::platform
