#include "XoStoreCodes.h"

namespace xo::store {

const char* Describe(int32_t result) {
  if (result >= 0) return "success";
  switch (result) {
    case kFailed:
      return "the store operation failed";
    case kNotFound:
      return "object not found";
    case kPropertyAbsent:
      return "property absent";
    case kNameTaken:
      return "the name is already taken";
    case kTextTooLong:
      return "a text is longer than its maximum length";
    case kInvalidId:
      return "invalid object identifier";
    case kDanglingRef:
      return "a referenced object does not exist";
    case kInUse:
      return "the object is still in use";
    case kUnavailable:
      return "the policy store cannot be reached";
    case kBusy:
      return "the policy store is busy";
    case kNameRequired:
      return "a required value is empty";
    case kWrongClass:
      return "an identifier names an object of the wrong kind";
    case kBadProperty:
      return "unknown property";
    case kTypeMismatch:
      return "a value has the wrong type";
    case kNoSession:
      return "no such session";
    case kNotInitialised:
      return "the policy store is not initialised";
    case kSchemaMismatch:
      return "the policy store has another schema version";
    case kOutOfMemory:
      return "out of memory";
    case kIoError:
      return "the policy store could not be read or written";
    case kDiskFull:
      return "the disk is full";
    case kCorrupt:
      return "the policy store is damaged";
    case kReadOnly:
      return "the policy store is read-only";
    case kConstraint:
      return "an integrity rule of the store was broken";
    case kInvalidArgument:
      return "invalid argument";
    case kExists:
      return "the object already exists";
    case kCycle:
      return "the change would make a loop";
    case kLastSystemAdmin:
      return "it would leave no system administrator who logs in with a password";
    case kAuthFailed:
      return "wrong administrator name or password";
    case kDirectoryError:
      return "the user directory failed";
    case kTimeout:
      return "the operation timed out";
    case kNotSupported:
      return "the operation is not supported";
    case kTransaction:
      return "the transaction could not complete";
    case kInternal:
      return "internal store error";
    default:
      return "unknown store error";
  }
}

}  // namespace xo::store
