// `xopolicy export` and `xopolicy apply`: the store as a JSON document, and a
// document made true in the store in one transaction (cli/policy/).

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>

#include "cli/CommandGroups.h"
#include "cli/Connection.h"
#include "cli/Terminal.h"
#include "cli/policy/Plan.h"
#include "cli/policy/Reading.h"
#include "cli/policy/Writing.h"

namespace xo::cli {
namespace {

using policy::Json;

struct ExportOptions {
  ConnectionOptions connection;
  std::vector<std::string> domains;
  std::string output;
  bool secrets = false;
};

struct ApplyOptions {
  ConnectionOptions connection;
  std::string file;
  bool dryRun = false;
  bool prune = false;
};

// Below this many changes an apply is over before a bar would help.
constexpr size_t kProgressBarMinimum = 500;

// A bar on standard error, redrawn when the percentage moves, for long
// applies in a terminal.
class ProgressBar {
 public:
  explicit ProgressBar(size_t total)
      : shown_(total >= kProgressBarMinimum && IsTerminal(Stream::kError)) {}
  ~ProgressBar() {
    if (shown_ && drawn_) std::cerr << "\r\033[K" << std::flush;
  }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void operator()(size_t done, size_t total) {
    if (!shown_) return;
    size_t percent = done * 100 / total;
    if (drawn_ && percent == percent_) return;
    constexpr size_t kWidth = 40;
    size_t filled = percent * kWidth / 100;
    std::cerr << "\rapplying [" << std::string(filled, '#') << std::string(kWidth - filled, ' ')
              << "] " << percent << "% (" << done << "/" << total << ")" << std::flush;
    percent_ = percent;
    drawn_ = true;
  }

 private:
  bool shown_;
  bool drawn_ = false;
  size_t percent_ = 0;
};

// The whole text, read into a string of its size where the size is known.
std::string ReadFile(const std::string& path) {
  std::ifstream file;
  std::string text;
  if (path != "-") {
    file.open(path, std::ios::binary);
    if (!file) throw CommandError("cannot read " + path + ": no such file, or not readable");
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    if (!error) text.reserve(size);
  }
  std::istream& in = path == "-" ? std::cin : file;
  char buffer[1 << 16];
  while (in.read(buffer, sizeof buffer) || in.gcount() > 0) text.append(buffer, in.gcount());
  return text;
}

// Where an export goes. A file is written beside its place and put there
// only when the document is complete, so that a failed export leaves what
// was there before; standard output, and what is no regular file, get the
// document as it is read.
class ExportTarget {
 public:
  explicit ExportTarget(const std::string& path) : path_(path) {
    namespace fs = std::filesystem;
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (path.empty() || (fs::exists(status) && !fs::is_regular_file(status))) {
      if (!path.empty()) file_.open(path, std::ios::binary | std::ios::trunc);
      return;
    }
    partial_ = path + ".partial";
    file_.open(partial_, std::ios::binary | std::ios::trunc);
    // A file kept secret stays so.
    if (fs::exists(status)) fs::permissions(partial_, status.permissions(), error);
  }
  ~ExportTarget() {
    if (!partial_.empty()) std::filesystem::remove(partial_);
  }
  ExportTarget(const ExportTarget&) = delete;
  ExportTarget& operator=(const ExportTarget&) = delete;

  std::ostream& Stream() { return path_.empty() ? std::cout : file_; }
  bool Streamed() const { return partial_.empty(); }

  void Complete() {
    if (!Stream().flush()) throw CommandError("cannot write " + Shown());
    if (partial_.empty()) return;
    file_.close();
    std::error_code error;
    std::filesystem::rename(partial_, path_, error);
    if (error) throw CommandError("cannot write " + path_ + ": " + error.message());
    partial_.clear();
  }

 private:
  std::string Shown() const { return path_.empty() ? "the document" : path_; }

  std::string path_;
  std::string partial_;
  std::ofstream file_;
};

void RunExport(const ExportOptions& options) {
  Connection connection(options.connection);
  policy::ReadScope scope;
  // A file for some domains leaves the system objects to whoever owns them.
  scope.system = options.domains.empty();
  if (!options.domains.empty()) scope.domains = options.domains;
  scope.secrets = options.secrets;
  const std::vector<std::string> domains = policy::DomainsInScope(connection, scope);
  for (const std::string& name : options.domains) {
    if (std::find(domains.begin(), domains.end(), name) == domains.end()) {
      throw CommandError("there is no domain \"" + name + "\"");
    }
  }
  ExportTarget target(options.output);
  if (!target.Stream()) throw CommandError("cannot write " + options.output);
  try {
    // Each domain is written as soon as it is read, and its rules one by one:
    // memory does not grow with the size of the store.
    policy::DocumentWriter writer(target.Stream());
    if (scope.system) writer.System(policy::ReadSystem(connection, scope));
    for (const std::string& name : domains) policy::WriteDomain(connection, scope, name, writer);
    writer.Finish();
    target.Complete();
  } catch (const CommandError& e) {
    throw CommandError(
        std::string(e.what()) + (target.Streamed() ? "\nthe document written is incomplete"
                                                   : "\n" + options.output + " was left as it was"),
        e.ExitCode());
  }
}

void RunApply(const ApplyOptions& options) {
  if (options.file == "-" && options.connection.passwordFromStdin) {
    throw CommandError("the file cannot come from standard input together with --password-stdin",
                       kExitUsage);
  }
  // The file is checked before anyone logs in: a mistake in it costs nothing.
  policy::Document desired = policy::ParseDocument(ReadFile(options.file), options.file);

  Connection connection(options.connection);
  // The plan is made and carried out in one transaction, so that nobody
  // changes the store between reading it and writing it.
  connection.Begin();
  try {
    policy::PlanOptions planOptions;
    planOptions.prune = options.prune;
    planOptions.runningAdmin = connection.AdminName();
    policy::Plan plan = policy::MakePlan(connection, desired, planOptions);
    policy::PrintPlan(std::cout, plan);
    std::cout << std::flush;
    if (plan.changes.empty()) {
      connection.Rollback();
      return;
    }
    {
      ProgressBar bar(plan.changes.size());
      policy::ApplyPlan(connection, plan, std::ref(bar));
    }
    if (options.dryRun) {
      connection.Rollback();
      std::cout << "Dry run: the plan can be applied; nothing was changed.\n";
      return;
    }
    connection.Commit();
    std::cout << "Applied.\n";
  } catch (const CommandError& e) {
    connection.Rollback();
    throw CommandError(std::string(e.what()) + "\nnothing was changed: the store is as it was",
                       e.ExitCode());
  }
}

void RegisterExport(CLI::App& app) {
  auto options = std::make_shared<ExportOptions>();
  CLI::App* command = app.add_subcommand(
      "export", "Write the store's objects as a JSON document (references by name)");
  AddConnectionOptions(*command, options->connection);
  command
      ->add_option("--domain", options->domains,
                   "Export only this domain, without the system objects (repeatable)")
      ->type_name("NAME");
  command
      ->add_option("--output,-o", options->output, "Write to this file instead of standard output")
      ->type_name("FILE");
  command->add_flag("--include-secrets,--include-password-hashes", options->secrets,
                    "Include administrators' password hashes and user directories' bind "
                    "passwords (keep such a file secret)");
  command->callback([options] { RunExport(*options); });
}

void RegisterApply(CLI::App& app) {
  auto options = std::make_shared<ApplyOptions>();
  CLI::App* command = app.add_subcommand(
      "apply",
      "Make the store match a JSON document: print the plan, then apply it all or nothing");
  AddConnectionOptions(*command, options->connection);
  command->add_option("FILE", options->file, "The document (- for standard input)")->required();
  command->add_flag("--dry-run", options->dryRun,
                    "Print the plan and try it, then roll it back: nothing is changed");
  command->add_flag("--prune", options->prune,
                    "Also delete what the document does not name (in the domains it names; whole "
                    "domains too when it has a \"system\" section)");
  command->callback([options] { RunApply(*options); });
}

}  // namespace

void RegisterPolicyAsCodeCommands(CLI::App& app) {
  RegisterExport(app);
  RegisterApply(app);
}

}  // namespace xo::cli
