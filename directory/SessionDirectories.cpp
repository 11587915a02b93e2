#include "SessionDirectories.h"

#include "Provider.h"
#include "XoObjClasses.h"

namespace xo::directory {
namespace {

std::vector<std::string> QueryTexts(const CXoObjODBCQuery* queries) {
  std::vector<std::string> texts;
  if (queries == nullptr) return texts;
  for (int query = 0; query < CXoObjODBCQuery::kQueries; ++query) {
    texts.push_back(queries->GetQuery(query));
  }
  return texts;
}

}  // namespace

SessionDirectories::SessionDirectories() = default;

SessionDirectories::~SessionDirectories() = default;

std::shared_ptr<Provider> SessionDirectories::For(const CXoObjUserDirectory& directory,
                                                  const CXoObjODBCQuery* queries,
                                                  std::string& error) {
  Settings settings = ReadSettings(directory);
  std::vector<std::string> texts = QueryTexts(queries);
  std::lock_guard guard(lock_);
  const std::string key = directory.GetOid().GetOidString();
  if (auto found = kept_.find(key); found != kept_.end()) {
    if (found->second.settings == settings && found->second.queries == texts) {
      return found->second.provider;
    }
    kept_.erase(found);
  }
  std::shared_ptr<Provider> provider = MakeProvider(settings, queries, error);
  if (provider) kept_[key] = Kept{std::move(settings), std::move(texts), provider};
  return provider;
}

void SessionDirectories::Clear() {
  std::lock_guard guard(lock_);
  kept_.clear();
}

}  // namespace xo::directory
