#include "sql/Seed.h"

#include "XoAdmSession.h"

namespace xo::store::sql {
namespace {

struct AttributeSeed {
  const char* name;
  const char* description;
  const char* valueType;
  int32_t code;  // the RADIUS attribute number; 0 for HTTP
};

constexpr AttributeSeed kHttpAttributes[] = {
    {"HTTP-Header-Fixed", "a fixed HTTP header sent to the protected application", "string", 0},
    {"HTTP-Header-Variable", "an HTTP header filled from a user attribute", "string", 0},
    {"HTTP-Cookie-Fixed", "a fixed cookie set in the browser", "string", 0},
    {"HTTP-Cookie-Variable", "a cookie filled from a user attribute", "string", 0},
    {"HTTP-Redirect-URL", "where the browser is sent after the decision", "string", 0},
};

constexpr AttributeSeed kRadiusAttributes[] = {
    {"Service-Type", "type of service the user has requested or is to receive", "integer", 6},
    {"Framed-Protocol", "framing to be used for framed access", "integer", 7},
    {"Framed-IP-Address", "address to be configured for the user", "ipaddr", 8},
    {"Framed-IP-Netmask", "netmask to be configured for the user", "ipaddr", 9},
    {"Framed-Routing", "routing method for the user", "integer", 10},
    {"Filter-Id", "name of the filter list for the user", "string", 11},
    {"Framed-MTU", "maximum transmission unit for the user", "integer", 12},
    {"Login-IP-Host", "system with which to connect the user", "ipaddr", 14},
    {"Login-Service", "service with which to connect the user", "integer", 15},
    {"Reply-Message", "text that may be displayed to the user", "string", 18},
    {"Callback-Number", "callback number", "string", 19},
    {"Framed-Route", "routing information to be configured for the user", "string", 22},
    {"State", "state shared between server and client", "string", 24},
    {"Class", "value the client sends back in accounting", "string", 25},
    {"Vendor-Specific", "vendor-specific attribute", "string", 26},
    {"Session-Timeout", "maximum seconds of service before termination", "integer", 27},
    {"Idle-Timeout", "maximum consecutive idle seconds", "integer", 28},
    {"Termination-Action", "action when the service is completed", "integer", 29},
    {"Port-Limit", "maximum number of ports for the user", "integer", 62},
};

template <size_t N>
void SeedAgentType(ObjectStore& store, const CXoObjId& oid, const char* name,
                   const char* description, const AttributeSeed (&attributes)[N]) {
  CXoObjVendor vendor(oid);
  vendor.Set(CXoObjVendor::Name, std::string(name));
  vendor.Set(CXoObjVendor::Description, std::string(description));
  store.Save(vendor, false);
  for (const AttributeSeed& seed : attributes) {
    CXoObjVendorAttr attribute(seed.name, seed.description, oid, seed.valueType, seed.code);
    store.Save(attribute, false);
  }
}

}  // namespace

void SeedStore(ObjectStore& store, const NewStoreOptions& options,
               const std::string& adminPasswordHash) {
  CXoObjRoot root;
  root.Set(CXoObjRoot::Name, std::string("Policy Store"));
  store.Save(root, false);

  SeedAgentType(store, WellKnownObjectId16A, "HTTP Agent", "web agents protecting HTTP resources",
                kHttpAttributes);
  SeedAgentType(store, WellKnownObjectId16B, "RADIUS Agent",
                "network access servers speaking RADIUS", kRadiusAttributes);

  CXoObjScheme basic(WellKnownObjectId13);
  CXoObjScheme values("Basic", "user name and password checked against a user directory", 5,
                      "basic", "", "", false, false, 0, false, false, false);
  for (uint32_t prop = 1; prop < values.Dict().NumProps(); ++prop) {
    basic.Set(prop, values.Get(prop));
  }
  store.Save(basic, false);

  CXoObjAdmin admin(options.adminName, "the store's first administrator", adminPasswordHash,
                    NullObjectId, NullObjectId, false, {}, XO_ADMFLAG_SYSTEM);
  store.Save(admin, false);
}

}  // namespace xo::store::sql
