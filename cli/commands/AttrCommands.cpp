// `xopolicy attr`: the attribute values of a response. An attribute is named
// by the agent type's dictionary ("Reply-Message", "HTTP-Header-Fixed", ...);
// a response may hold several values of one attribute.
#include <algorithm>
#include <cctype>

#include "cli/Nouns.h"

namespace xo::cli {
namespace {

using R = ResponseAttrRecord;

std::vector<Field<R>> AttrFields() {
  return {
      TextField("id", "objectId", &R::objectId),
      TextField("attribute", "attrName", &R::attrName),
      TextField("value", "value", &R::value, "The attribute's value"),
      IntegerField("int1", "attrInt1", &R::attrInt1, "Attribute integer 1"),
      IntegerField("int2", "attrInt2", &R::attrInt2, "Attribute integer 2"),
  };
}

struct AttrVerb : VerbOptions {
  std::string response;
  std::string attribute;
  std::string oldValue;
  FieldInputs fields;

  std::string Response() const { return "response " + Quoted(response) + scope.Where(); }
  std::string What() const { return "attribute " + Quoted(attribute) + " of " + Response(); }
};

std::shared_ptr<AttrVerb> DeclareAttrVerb(CLI::App& noun, const std::string& name,
                                          const std::string& help, bool named) {
  auto [verb, options] = AddVerb<AttrVerb>(noun, name, help, ScopeKind::Domain);
  verb->add_option("--response", options->response, "The response")->required()->type_name("NAME");
  if (named) {
    verb->add_option("attribute", options->attribute, "Name of the attribute")->required();
  }
  return options;
}

void RequireResponse(Connection& c, const AttrVerb& v) {
  RequireExisting<ResponseRecord>(c, v.scope, v.Response(), [&](ResponseRecord** list) {
    return Xo_PolicyApi_GetResponse(c.Handle(), v.response.c_str(), v.scope.domain.c_str(), list);
  });
}

std::vector<R> ReadAttrs(Connection& c, const AttrVerb& v) {
  RequireResponse(c, v);
  return ReadList<R>(c, v.scope, "cannot read the attributes of " + v.Response(), [&](R** list) {
    return Xo_PolicyApi_GetResponseAttrs(c.Handle(), v.response.c_str(), v.scope.domain.c_str(),
                                         list);
  });
}

bool EqualIgnoringCase(const std::string& a, const std::string& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char x, unsigned char y) {
    return std::tolower(x) == std::tolower(y);
  });
}

// The values of the attribute; only those equal to `value`, ignoring case,
// when one is given (as the library compares them when it removes).
std::vector<R> ValuesOf(Connection& c, const AttrVerb& v, const std::string& value) {
  std::vector<R> values;
  for (const R& attr : ReadAttrs(c, v)) {
    if (v.attribute != attr.attrName) continue;
    if (!value.empty() && !EqualIgnoringCase(value, attr.value)) continue;
    values.push_back(attr);
  }
  if (values.empty()) {
    NotFound("there is no " + v.What() + (value.empty() ? "" : " with value " + Quoted(value)));
  }
  return values;
}

void Add(AttrVerb& v) {
  R record{};
  CopyText(record.attrName, v.attribute, "the attribute name");
  ApplyFieldOptions(AttrFields(), v.fields, record);
  Connection c(v.connection);
  RequireResponse(c, v);
  CheckCall(
      c, v.scope,
      Xo_PolicyApi_AddResponseAttr(c.Handle(), v.response.c_str(), v.scope.domain.c_str(), &record),
      "cannot add " + v.What());
  PrintDone(v.output, "Added " + v.What() + ".");
}

void Show(const AttrVerb& v, bool onlyNamed) {
  Connection c(v.connection);
  const auto fields = AttrFields();
  std::vector<R> attrs = onlyNamed ? ValuesOf(c, v, "") : ReadAttrs(c, v);
  PrintListing(v.output, RecordsJson(fields, attrs),
               FieldColumns(fields, {"attribute", "value", "int1", "int2"}));
}

void Delete(AttrVerb& v) {
  R record{};
  CopyText(record.attrName, v.attribute, "the attribute name");
  if (v.fields.Given("value")) CopyText(record.value, v.fields.Value("value"), "--value");
  Connection c(v.connection);
  c.Begin();
  ValuesOf(c, v, record.value);
  CheckCall(c, v.scope,
            Xo_PolicyApi_RemoveResponseAttr(c.Handle(), v.response.c_str(), v.scope.domain.c_str(),
                                            &record),
            "cannot delete " + v.What());
  c.Commit();
  PrintDone(v.output, "Deleted " + v.What() + ".");
}

// The library has no update of a value: the old one is removed and the new
// one added, in one transaction.
void Update(AttrVerb& v) {
  if (!v.fields.Any()) throw CommandError("nothing to change: give a field option", kExitUsage);
  Connection c(v.connection);
  c.Begin();
  std::vector<R> values = ValuesOf(c, v, v.oldValue);
  if (values.size() > 1) {
    throw CommandError(v.What() + " has " + std::to_string(values.size()) +
                       " values; choose one with --old-value");
  }
  R record = values.front();
  ApplyFieldOptions(AttrFields(), v.fields, record);
  CheckCall(c, v.scope,
            Xo_PolicyApi_RemoveResponseAttr(c.Handle(), v.response.c_str(), v.scope.domain.c_str(),
                                            &values.front()),
            "cannot update " + v.What());
  CheckCall(
      c, v.scope,
      Xo_PolicyApi_AddResponseAttr(c.Handle(), v.response.c_str(), v.scope.domain.c_str(), &record),
      "cannot update " + v.What());
  c.Commit();
  PrintDone(v.output, "Updated " + v.What() + ".");
}

}  // namespace

void RegisterAttrCommands(CLI::App& app) {
  CLI::App* noun = app.add_subcommand(
      "attr", "Response attributes: the values a response sends, named by the agent type");
  const auto fields = AttrFields();

  auto add = DeclareAttrVerb(*noun, "add", "Add a value of an attribute to a response", true);
  DeclareFieldOptions(*noun->get_subcommand("add"), fields, add->fields, true);
  noun->get_subcommand("add")->callback([add] { Add(*add); });

  auto get = DeclareAttrVerb(*noun, "get", "Show the values of an attribute of a response", true);
  noun->get_subcommand("get")->callback([get] { Show(*get, true); });

  auto list = DeclareAttrVerb(*noun, "list", "List the attribute values of a response", false);
  noun->get_subcommand("list")->callback([list] { Show(*list, false); });

  auto update = DeclareAttrVerb(*noun, "update", "Change a value of an attribute", true);
  CLI::App* updateVerb = noun->get_subcommand("update");
  DeclareFieldOptions(*updateVerb, fields, update->fields, false);
  updateVerb->add_option("--old-value", update->oldValue,
                         "The value to change, when the attribute has several");
  updateVerb->callback([update] { Update(*update); });

  auto remove = DeclareAttrVerb(
      *noun, "delete", "Delete the values of an attribute (only --value's, if given)", true);
  CLI::App* deleteVerb = noun->get_subcommand("delete");
  remove->fields.Declare(*deleteVerb, "value", "Delete only this value (case ignored)",
                         FieldKind::Text, false, false);
  deleteVerb->callback([remove] { Delete(*remove); });
}

}  // namespace xo::cli
