// A response's attribute values read and removed in a domain crowded with
// 10,000 values of other responses, against the same response in a quiet
// domain: the calls look at what the response holds, so the two should cost
// the same.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "BenchStores.h"
#include "Iterations.h"
#include "Ratios.h"
#include "XoObjStore.h"

namespace xo::bench {
namespace {

constexpr int64_t kCrowd = 10000;
constexpr int64_t kCrowdResponses = 100;
constexpr int64_t kValuesPerResponse = 5;
constexpr int64_t kValuesPerTransaction = 1000;
constexpr const char* kAttribute = "HTTP-Header-Fixed";
constexpr const char* kVisitor = "Filter-Id";

int32_t AddValue(PolicyApiSession* handle, const char* domain, const std::string& response,
                 const char* attribute, const std::string& value) {
  ResponseAttrRecord attr{};
  std::snprintf(attr.attrName, sizeof attr.attrName, "%s", attribute);
  std::snprintf(attr.value, sizeof attr.value, "%s", value.c_str());
  return Xo_PolicyApi_AddResponseAttr(handle, response.c_str(), domain, &attr);
}

void AddResponse(PolicyApiSession* handle, const char* domain, const std::string& name) {
  ResponseRecord response{};
  std::snprintf(response.name, sizeof response.name, "%s", name.c_str());
  std::snprintf(response.agentTypeName, sizeof response.agentTypeName, "HTTP Agent");
  Require(Xo_PolicyApi_AddResponse(handle, domain, &response, 0) == XO_OK, "adding " + name);
}

// Domain "crowded": the response "single" with a few values and 100 other
// responses holding 10,000 values between them; domain "quiet": "single"
// with the same few values.
const std::string& AttrStore() {
  static const std::string& uri = [&]() -> const std::string& {
    // A store of its own: the policy-users benchmark has domains of these names.
    const std::string& store = PopulatedStore(2);
    ApiSession api(store);
    const std::string& sid = api.Session().GetSessionID();
    for (const char* name : {"crowded", "quiet"}) {
      DomainRecord domain{};
      std::snprintf(domain.name, sizeof domain.name, "%s", name);
      Require(Xo_PolicyApi_AddDomain(api.Handle(), &domain, 0) == XO_OK, "adding a domain");
      AddResponse(api.Handle(), name, "single");
      for (int64_t v = 0; v < kValuesPerResponse; ++v) {
        Require(
            AddValue(api.Handle(), name, "single", kAttribute, "v" + std::to_string(v)) == XO_OK,
            "adding a value");
      }
    }
    for (int64_t r = 0; r < kCrowdResponses; ++r) {
      AddResponse(api.Handle(), "crowded", "r" + std::to_string(r));
    }
    for (int64_t first = 0; first < kCrowd; first += kValuesPerTransaction) {
      Require(CXoObjStore::BeginTransaction(sid) >= 0, "beginning a transaction");
      for (int64_t i = first; i < first + kValuesPerTransaction; ++i) {
        Require(AddValue(api.Handle(), "crowded", "r" + std::to_string(i % kCrowdResponses),
                         kAttribute, "c" + std::to_string(i)) == XO_OK,
                "adding a value");
      }
      Require(CXoObjStore::CommitTransaction(sid) >= 0, "committing a transaction");
    }
    return store;
  }();
  return uri;
}

void ReadValues(benchmark::State& state, const char* domain) {
  ApiSession api(AttrStore());
  RunSteps(state, "GetResponseAttrs missed values", [&] {
    ResponseAttrRecord* list = nullptr;
    const int32_t rc = Xo_PolicyApi_GetResponseAttrs(api.Handle(), "single", domain, &list);
    int64_t count = 0;
    for (const ResponseAttrRecord* attr = list; attr != nullptr; attr = attr->next) ++count;
    Xo_PolicyApi_FreeMemory(list);
    return rc == XO_OK && count == kValuesPerResponse;
  });
}

// Times the removal of a value added untimed just before.
void RemoveValue(benchmark::State& state, const char* domain) {
  ApiSession api(AttrStore());
  for (auto _ : state) {
    state.PauseTiming();
    const bool added = AddValue(api.Handle(), domain, "single", kVisitor, "visitor") == XO_OK;
    state.ResumeTiming();
    ResponseAttrRecord attr{};
    std::snprintf(attr.attrName, sizeof attr.attrName, "%s", kVisitor);
    if (!added || Xo_PolicyApi_RemoveResponseAttr(api.Handle(), "single", domain, &attr) != XO_OK) {
      state.SkipWithError("a value change failed");
      break;
    }
  }
}

void GetResponseAttrsQuiet(benchmark::State& state) { ReadValues(state, "quiet"); }
void GetResponseAttrsCrowded(benchmark::State& state) { ReadValues(state, "crowded"); }
void RemoveResponseAttrQuiet(benchmark::State& state) { RemoveValue(state, "quiet"); }
void RemoveResponseAttrCrowded(benchmark::State& state) { RemoveValue(state, "crowded"); }

[[maybe_unused]] const bool kRatios =
    AddRatio("GetResponseAttrsCrowded", "GetResponseAttrsQuiet") &&
    AddRatio("RemoveResponseAttrCrowded", "RemoveResponseAttrQuiet");

BENCHMARK(GetResponseAttrsQuiet)->Unit(benchmark::kMicrosecond);
BENCHMARK(GetResponseAttrsCrowded)->Unit(benchmark::kMicrosecond);
BENCHMARK(RemoveResponseAttrQuiet)->Unit(benchmark::kMicrosecond);
BENCHMARK(RemoveResponseAttrCrowded)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace xo::bench
