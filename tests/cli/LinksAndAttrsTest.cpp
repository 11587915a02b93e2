// A policy's links to rules and responses, and a response's attribute values:
// the nouns whose objects have no name of their own.
#include <gtest/gtest.h>

#include "CliStore.h"

namespace xo::test {
namespace {

class LinksTest : public CliStoreTest {
 protected:
  void SetUp() override {
    CliStoreTest::SetUp();
    AddDomainWithRealm("D");
    Ok({"rule", "add", "read", "--domain", "D", "--realm", "portal"});
    Ok({"group", "add", "everyday", "--type", "rule", "--domain", "D", "--agent-type",
        "HTTP Agent"});
    Ok({"response", "add", "welcome", "--domain", "D", "--agent-type", "HTTP Agent"});
    Ok({"group", "add", "answers", "--type", "response", "--domain", "D", "--agent-type",
        "HTTP Agent"});
    Ok({"policy", "add", "staff", "--domain", "D"});
  }
  std::vector<std::string> Link(std::vector<std::string> args) {
    args.insert(args.end(), {"--domain", "D", "--policy", "staff"});
    return args;
  }
};

TEST_F(LinksTest, BindRulesAndGroupsReadThemBackAndUnbind) {
  Ok(Link({"link", "add", "--rule", "read", "--realm", "portal", "--response", "welcome"}));
  Ok(Link({"link", "add", "--rule", "everyday", "--realm", "portal"}));

  Json links = RunJson(Link({"link", "list"}));
  ASSERT_EQ(links.size(), 2u);
  EXPECT_EQ(links[0]["ruleName"], "read");
  EXPECT_EQ(links[0]["realmName"], "portal");
  EXPECT_EQ(links[0]["responseName"], "welcome");
  EXPECT_EQ(links[1]["ruleName"], "everyday");
  EXPECT_EQ(links[1]["realmName"], "");
  EXPECT_EQ(links[1]["responseName"], "");
  EXPECT_TRUE(Contains(Ok(Link({"link", "list"})), "RULE"));

  Ok(Link({"link", "update", "--rule", "everyday", "--realm", "portal", "--response", "welcome"}));
  EXPECT_EQ(RunJson(Link({"link", "get", "--rule", "everyday"}))[0]["responseName"], "welcome");

  Ok(Link({"link", "delete", "--rule", "read", "--realm", "portal"}));
  links = RunJson(Link({"link", "list"}));
  ASSERT_EQ(links.size(), 1u);
  EXPECT_EQ(links[0]["ruleName"], "everyday");
}

TEST_F(LinksTest, ResponseGroupCannotBeSetAndNothingChanges) {
  Ok(Link({"link", "add", "--rule", "read", "--realm", "portal"}));
  const std::string before = Snapshot();

  CliResult run =
      Run(Link({"link", "update", "--rule", "read", "--realm", "portal", "--response", "answers"}));

  EXPECT_EQ(run.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(run.err, "only a response can be set"));
  EXPECT_EQ(Snapshot(), before);
}

TEST_F(LinksTest, MissingPolicyOrLinkIsNotFound) {
  const std::string before = Snapshot();

  CliResult noPolicy = Run({"link", "list", "--domain", "D", "--policy", "nobody"});
  EXPECT_EQ(noPolicy.exitCode, kExitNotFound);
  EXPECT_TRUE(Contains(noPolicy.err, "there is no policy \"nobody\" in domain \"D\""));
  CliResult noLink = Run(Link({"link", "delete", "--rule", "read", "--realm", "portal"}));
  EXPECT_EQ(noLink.exitCode, kExitNotFound);
  CliResult noRule = Run(Link({"link", "add", "--rule", "write", "--realm", "portal"}));
  EXPECT_EQ(noRule.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(noRule.err, "cannot add a link"));

  EXPECT_EQ(Snapshot(), before);
}

class AttrsTest : public CliStoreTest {
 protected:
  void SetUp() override {
    CliStoreTest::SetUp();
    Ok({"domain", "add", "D"});
    Ok({"response", "add", "welcome", "--domain", "D", "--agent-type", "HTTP Agent"});
  }
  std::vector<std::string> Attr(std::vector<std::string> args) {
    args.insert(args.end(), {"--domain", "D", "--response", "welcome"});
    return args;
  }
  std::vector<std::string> Values() {
    std::vector<std::string> values;
    for (const Json& attr : RunJson(Attr({"attr", "list"})))
      values.push_back(attr["value"].get<std::string>());
    return values;
  }
};

TEST_F(AttrsTest, ValuesAreAddedChangedAndDeleted) {
  Ok(Attr({"attr", "add", "HTTP-Header-Fixed", "--value", "X-One: 1", "--int1", "3"}));
  Ok(Attr({"attr", "add", "HTTP-Header-Fixed", "--value", "X-Two: 2"}));
  Ok(Attr({"attr", "add", "HTTP-Cookie-Fixed", "--value", "lang=en"}));
  Json header = RunJson(Attr({"attr", "get", "HTTP-Header-Fixed"}));
  ASSERT_EQ(header.size(), 2u);
  EXPECT_EQ(header[0]["attrName"], "HTTP-Header-Fixed");
  EXPECT_EQ(header[0]["attrInt1"], 3);

  Ok(Attr({"attr", "update", "HTTP-Header-Fixed", "--old-value", "x-two: 2", "--value", "X-2"}));
  EXPECT_EQ(Values(), (std::vector<std::string>{"X-One: 1", "lang=en", "X-2"}));

  Ok(Attr({"attr", "delete", "HTTP-Header-Fixed", "--value", "x-one: 1"}));
  Ok(Attr({"attr", "delete", "HTTP-Cookie-Fixed"}));
  EXPECT_EQ(Values(), (std::vector<std::string>{"X-2"}));
}

TEST_F(AttrsTest, AmbiguousOrMissingValuesChangeNothing) {
  Ok(Attr({"attr", "add", "HTTP-Header-Fixed", "--value", "a"}));
  Ok(Attr({"attr", "add", "HTTP-Header-Fixed", "--value", "b"}));
  const std::string before = Snapshot();

  CliResult ambiguous = Run(Attr({"attr", "update", "HTTP-Header-Fixed", "--value", "c"}));
  EXPECT_EQ(ambiguous.exitCode, kExitFailure);
  EXPECT_TRUE(Contains(ambiguous.err, "has 2 values; choose one with --old-value"));
  CliResult noValue = Run(Attr({"attr", "delete", "HTTP-Header-Fixed", "--value", "z"}));
  EXPECT_EQ(noValue.exitCode, kExitNotFound);
  CliResult unknown = Run(Attr({"attr", "add", "No-Such-Attribute", "--value", "x"}));
  EXPECT_EQ(unknown.exitCode, kExitFailure);
  CliResult noResponse = Run({"attr", "list", "--domain", "D", "--response", "nothing"});
  EXPECT_EQ(noResponse.exitCode, kExitNotFound);

  EXPECT_EQ(Snapshot(), before);
}

}  // namespace
}  // namespace xo::test
