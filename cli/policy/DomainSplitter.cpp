#include "cli/policy/DomainSplitter.h"

#include <stdexcept>
#include <vector>

namespace xo::cli::policy {
namespace {

// Builds values from the parser's events the way Json::parse does; the open
// containers are the last element of their parents, so pointers to them stay
// valid until they close.
class Splitter : public nlohmann::json_sax<Json> {
 public:
  explicit Splitter(const std::function<void(Json&&)>& domain) : domain_(domain) {}

  Json Take() { return std::move(root_); }

  bool null() override { return Value(nullptr); }
  bool boolean(bool value) override { return Value(value); }
  bool number_integer(number_integer_t value) override { return Value(value); }
  bool number_unsigned(number_unsigned_t value) override { return Value(value); }
  bool number_float(number_float_t value, const string_t&) override { return Value(value); }
  bool string(string_t& value) override { return Value(std::move(value)); }
  bool binary(binary_t&) override { return false; }  // JSON text holds none
  bool start_object(std::size_t) override { return Open(Json::object()); }
  bool key(string_t& name) override {
    key_ = name;
    member_ = &(*open_.back())[name];
    return true;
  }
  bool end_object() override { return Close(); }
  bool start_array(std::size_t) override {
    const bool domains = open_.size() == 1 && open_.back()->is_object() && key_ == "domains";
    Open(Json::array());
    if (domains) domains_ = open_.back();
    return true;
  }
  bool end_array() override { return Close(); }
  bool parse_error(std::size_t, const std::string&,
                   const nlohmann::detail::exception& error) override {
    if (const auto* parse = dynamic_cast<const Json::parse_error*>(&error)) throw *parse;
    throw std::runtime_error(error.what());
  }

 private:
  // Places a value in the open container, or as the whole text.
  Json* Place(Json&& value) {
    if (open_.empty()) {
      root_ = std::move(value);
      return &root_;
    }
    Json& parent = *open_.back();
    if (parent.is_array()) {
      parent.push_back(std::move(value));
      return &parent.back();
    }
    *member_ = std::move(value);
    return member_;
  }

  bool Value(Json&& value) {
    Place(std::move(value));
    Done();
    return true;
  }

  bool Open(Json&& container) {
    open_.push_back(Place(std::move(container)));
    return true;
  }

  bool Close() {
    open_.pop_back();
    Done();
    return true;
  }

  // A value is complete in the open container: a domain goes on at once.
  void Done() {
    if (open_.empty() || open_.back() != domains_ || domains_->empty()) return;
    domain_(std::move(domains_->back()));
    domains_->erase(domains_->end() - 1);
  }

  const std::function<void(Json&&)>& domain_;
  Json root_;
  std::vector<Json*> open_;
  Json* member_ = nullptr;
  Json* domains_ = nullptr;
  std::string key_;
};

}  // namespace

Json ParseSplittingDomains(const std::string& text, const std::function<void(Json&&)>& domain) {
  Splitter splitter(domain);
  Json::sax_parse(text, &splitter);
  return splitter.Take();
}

}  // namespace xo::cli::policy
