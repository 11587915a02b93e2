#include "cli/policy/Writing.h"

#include <algorithm>
#include <deque>

#include "cli/CommandGroups.h"
#include "cli/Output.h"

namespace xo::cli::policy {

void Writer::Apply(const Change& change) {
  if (change.what == ChangeKind::Delete) RunLater();
  change_ = &change;
  if (change.what == ChangeKind::Delete) {
    change.kind->remove(*this, change);
  } else {
    change.kind->write(*this, change);
  }
}

void Writer::Must(int32_t code) const {
  static const char* const kVerbs[] = {"create", "update", "delete"};
  Check(code, std::string("cannot ") + kVerbs[static_cast<int>(change_->what)] + " " +
                  change_->kind->label + " " + change_->Name());
}

void Writer::MustFor(int32_t code, const std::string& what) const {
  Check(code, "cannot change " + std::string(change_->kind->label) + " " + change_->Name() + " (" +
                  what + ")");
}

void Writer::Refuse(const std::string& part, const std::string& why) const {
  throw CommandError("cannot change " + std::string(change_->kind->label) + " " + change_->Name() +
                     " (" + part + "): " + why);
}

uint8_t Writer::Update() const { return change_->what == ChangeKind::Update ? 1 : 0; }

bool Writer::RecordChanges(std::initializer_list<const char*> lists) const {
  if (change_->what == ChangeKind::Create) return true;
  return std::any_of(change_->fields.begin(), change_->fields.end(), [&](const FieldChange& f) {
    return std::none_of(lists.begin(), lists.end(),
                        [&](const char* list) { return f.field == list; });
  });
}

void Writer::Later(std::function<void()> step) {
  later_.emplace_back(change_, std::move(step));
  ++stepsPutOff_;
}

void Writer::RunLater() {
  for (auto& [change, step] : later_) {
    change_ = change;
    step();
  }
  later_.clear();
}

void ApplyPlan(const Connection& connection, const Plan& plan, const Progress& progress) {
  Writer writer(connection);
  // A change is unpacked only while it is carried out, or while a step of it
  // waits for every object to exist.
  std::deque<Change> waiting;
  size_t done = 0;
  for (const PlannedChange& planned : plan.changes) {
    const size_t steps = writer.StepsPutOff();
    waiting.push_back(planned.Unpacked());
    writer.Apply(waiting.back());
    if (writer.StepsPutOff() == steps) waiting.pop_back();
    if (progress) progress(++done, plan.changes.size());
  }
  writer.RunLater();
}

}  // namespace xo::cli::policy
