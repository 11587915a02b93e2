// A fresh store in a scratch directory, opened through the store layer with
// the first administrator logged in.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "StoreBackend.h"
#include "XoObjStore.h"
#include "support/DirectStore.h"
#include "support/Environment.h"
#include "support/StoreFile.h"

namespace xo::test {

class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    directory_ = MakeScratchDirectory();
    path_ = directory_ + "/policy.db";
    std::string message;
    ASSERT_GE(store::CreateStore({"sqlite", path_}, {"root", "secret", "minimum"}, message), 0)
        << message;
    SetEnvironment("XO_POLICY_STORE", path_);
    direct_ = std::make_unique<DirectStore>("root", "secret");
  }
  void TearDown() override {
    direct_.reset();
    RemoveDirectory(directory_);
  }

  DirectStore& S() { return *direct_; }
  const std::string& Sid() { return direct_->Sid(); }
  int32_t Save(CXoObjBase& object, bool overwrite = false) {
    return CXoObjStore::Save(object, overwrite, Sid());
  }
  CXoObjIdArray List(const CXoObjBase& owner, uint32_t prop) {
    std::unique_ptr<CXoObjBase> copy(owner.Copy());
    XoPropValue value;
    EXPECT_GE(CXoObjStore::FetchProperty(*copy, prop, &value, Sid()), 0);
    const CXoObjIdArray* ids = std::get_if<CXoObjIdArray>(&value);
    return ids ? *ids : CXoObjIdArray{};
  }

  std::string directory_;
  std::string path_;
  std::unique_ptr<DirectStore> direct_;
};

inline std::vector<std::string> Texts(const CXoObjIdArray& ids) {
  std::vector<std::string> texts;
  for (const CXoObjId& id : ids) texts.push_back(id.GetOidString());
  return texts;
}

}  // namespace xo::test
