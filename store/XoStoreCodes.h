// The store's result values: success is positive, every failure is negative
// (0x8001xxxx and 0x8002xxxx). The API maps failures onto its own codes.
#pragma once

#include <cstdint>

namespace xo::store {

constexpr int32_t Code(uint32_t value) { return static_cast<int32_t>(value); }

constexpr int32_t kOk = Code(0x00010000u);
constexpr int32_t kFailed = Code(0x80010064u);           // general failure
constexpr int32_t kNotFound = Code(0x80010065u);         // object not found
constexpr int32_t kPropertyAbsent = Code(0x80010066u);   // property absent
constexpr int32_t kNameTaken = Code(0x80010067u);        // name already used in its scope
constexpr int32_t kTextTooLong = Code(0x80010068u);      // text over its maximum length
constexpr int32_t kInvalidId = Code(0x80010069u);        // malformed or null identifier
constexpr int32_t kDanglingRef = Code(0x8001006Au);      // reference to a missing object
constexpr int32_t kInUse = Code(0x8001006Bu);            // object still used elsewhere
constexpr int32_t kUnavailable = Code(0x8001006Cu);      // store cannot be reached
constexpr int32_t kBusy = Code(0x8001006Du);             // store locked by another writer
constexpr int32_t kNameRequired = Code(0x8001006Eu);     // a required value is empty
constexpr int32_t kWrongClass = Code(0x8001006Fu);       // identifier of the wrong class
constexpr int32_t kBadProperty = Code(0x80010070u);      // unknown property number
constexpr int32_t kTypeMismatch = Code(0x80010071u);     // value of the wrong type
constexpr int32_t kNoSession = Code(0x80010072u);        // session unknown or ended
constexpr int32_t kNotInitialised = Code(0x80010073u);   // store never initialised
constexpr int32_t kSchemaMismatch = Code(0x80010074u);   // store of another schema version
constexpr int32_t kOutOfMemory = Code(0x80010075u);      // allocation failed
constexpr int32_t kIoError = Code(0x80010076u);          // disk read or write failed
constexpr int32_t kDiskFull = Code(0x80010077u);         // no room left
constexpr int32_t kCorrupt = Code(0x80010078u);          // store file damaged
constexpr int32_t kReadOnly = Code(0x80010079u);         // store opened read-only
constexpr int32_t kConstraint = Code(0x8001007Au);       // other integrity rule broken
constexpr int32_t kInvalidArgument = Code(0x8001007Cu);  // argument the store cannot take
constexpr int32_t kExists = Code(0x8001007Du);           // object already exists
constexpr int32_t kCycle = Code(0x8001007Eu);            // a parent or group loop
constexpr int32_t kLastSystemAdmin = Code(0x8001007Fu);  // the last who can always log in
constexpr int32_t kAuthFailed = Code(0x80010081u);       // wrong name or password
constexpr int32_t kDirectoryError = Code(0x80010082u);   // user directory failed
constexpr int32_t kTimeout = Code(0x80010083u);          // operation timed out
constexpr int32_t kNotSupported = Code(0x80010086u);     // operation not supported here
constexpr int32_t kTransaction = Code(0x80020001u);      // transaction could not complete
constexpr int32_t kInternal = Code(0x80020002u);         // unexpected database error

inline bool Failed(int32_t result) { return result < 0; }

// A short description of a store result, for messages to people.
const char* Describe(int32_t result);

}  // namespace xo::store
