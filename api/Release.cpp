// Giving back the records and string arrays that Get functions hand out.
#include "XoPolicyApi.h"
#include "frame/Guard.h"
#include "frame/Records.h"
#include "frame/StringArrays.h"

XO_API Xo_PolicyApi_FreeMemory(void* list) {
  return xo::frame::Guarded([&] { return xo::frame::FreeRecordList(list); });
}

XO_API Xo_PolicyApi_FreeStringArray(char** array) {
  return xo::frame::Guarded([&] { return xo::frame::FreeStringArray(array); });
}
