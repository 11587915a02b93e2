// `xopolicy export` and `xopolicy apply`: the store as a JSON document, and a
// document made true in the store in one transaction (cli/policy/).

#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

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

std::string ReadFile(const std::string& path) {
  if (path == "-") {
    std::ostringstream text;
    text << std::cin.rdbuf();
    return text.str();
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) throw CommandError("cannot read " + path + ": no such file, or not readable");
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void RunExport(const ExportOptions& options) {
  Connection connection(options.connection);
  policy::ReadScope scope;
  // A file for some domains leaves the system objects to whoever owns them.
  scope.system = options.domains.empty();
  if (!options.domains.empty()) scope.domains = options.domains;
  scope.secrets = options.secrets;
  Json document = policy::ReadStore(connection, scope);
  if (scope.domains && document["domains"].size() != options.domains.size()) {
    for (const std::string& name : options.domains) {
      bool found = false;
      for (const Json& domain : document["domains"]) found = found || domain["name"] == name;
      if (!found) throw CommandError("there is no domain \"" + name + "\"");
    }
  }
  std::string text = policy::WriteDocument(document);
  if (options.output.empty()) {
    std::cout << text;
    return;
  }
  std::ofstream out(options.output, std::ios::binary | std::ios::trunc);
  out << text;
  if (!out.flush()) throw CommandError("cannot write " + options.output);
}

// What the store holds of what the file speaks about.
policy::ReadScope ScopeOf(const Json& desired, bool prune, std::vector<std::string>& builtIn) {
  policy::ReadScope scope;
  scope.system = desired.contains("system");
  scope.secrets = true;
  scope.builtIn = &builtIn;
  // Pruning a file that describes the whole store may delete any domain.
  if (!(prune && scope.system)) {
    std::vector<std::string> names;
    if (desired.contains("domains")) {
      for (const Json& domain : desired["domains"]) names.push_back(domain["name"]);
    }
    scope.domains = names;
  }
  return scope;
}

void RunApply(const ApplyOptions& options) {
  if (options.file == "-" && options.connection.passwordFromStdin) {
    throw CommandError("the file cannot come from standard input together with --password-stdin",
                       kExitUsage);
  }
  // The file is checked before anyone logs in: a mistake in it costs nothing.
  Json desired = policy::ParseDocument(ReadFile(options.file), options.file);

  Connection connection(options.connection);
  // The plan is made and carried out in one transaction, so that nobody
  // changes the store between reading it and writing it.
  connection.Begin();
  try {
    std::vector<std::string> builtIn;
    Json current = policy::ReadStore(connection, ScopeOf(desired, options.prune, builtIn));
    policy::PlanOptions planOptions;
    planOptions.prune = options.prune;
    planOptions.keep.insert(builtIn.begin(), builtIn.end());
    planOptions.runningAdmin = connection.AdminName();
    policy::Plan plan = policy::MakePlan(current, desired, planOptions);
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
