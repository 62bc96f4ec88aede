// mib translate: a name as its number and a number as its name, with what the module says of
// the object. mib check: what the MIB files given make of themselves.
#include <string>

#include "cli/commands.h"
#include "mib/mib_set.h"
#include "mib/smi_loader.h"
#include "util/text.h"

namespace cli {

namespace {

// Each module read and each problem, "file:line: cause"; a failure when there is any problem.
int CheckFiles(CliContext& context) {
  mib::SmiLoadRequest request;
  request.folders = context.line.mib_dirs;
  for (std::string& folder : mib::StandardMibFolders())
    request.folders.push_back(std::move(folder));
  request.files = context.line.mib_files;
  request.base_folder = mib::BaseMibFolder();
  const mib::SmiLoadResult read = mib::LoadMibModules(request);
  for (const mib::LoadedModule& module : read.modules)
    context.out << module.name << ": " << module.nodes << (module.nodes == 1 ? " node" : " nodes")
                << " from " << module.file << "\n";
  for (const mib::MibProblem& problem : read.problems)
    context.Error(tvkutil::FromUtf8Lenient("mib: " + mib::FormatProblem(problem)));
  return read.problems.empty() ? kExitDone : kExitFailure;
}

}  // namespace

int RunMib(CliContext& context) {
  if (context.line.mib_action == "check")
    return CheckFiles(context);
  const mib::CMibSet& mibs = mib::CMibSet::Builtin();
  mib::Arcs oid;
  std::string error;
  if (!mibs.ToOid(context.line.mib_subject, oid, error)) {
    context.Error(tvkutil::FromUtf8Lenient("mib: " + error));
    return kExitUsage;
  }
  std::string numbers;
  for (std::uint32_t arc : oid)
    numbers.append(".").append(std::to_string(arc));
  const mib::OidMatch match = mibs.Match(oid);
  if (match.node == nullptr) {
    context.out << numbers << "\n";
    context.Error(tvkutil::FromUtf8Lenient("mib: no module built in names " + numbers));
    return kExitFailure;
  }
  const mib::MibNode& node = *match.node;
  std::ostream& out = context.out;
  out << mib::CMibSet::NameOf(match) << "\n" << numbers << "\n";
  const auto row = [&out](const char* label, const std::string& text) {
    if (!text.empty())
      out << label << ": " << text << "\n";
  };
  row("kind", mib::KindName(node.kind));
  std::string syntax =
      node.type_name.empty() ? node.syntax : node.type_name + " (" + node.syntax + ")";
  if (!node.display_hint.empty())
    syntax += ", DISPLAY-HINT \"" + node.display_hint + "\"";
  row("syntax", syntax);
  std::string values;
  for (const auto& [number, label] : node.enums)
    values += (values.empty() ? "" : ", ") + label + "(" + std::to_string(number) + ")";
  row(node.syntax == "BITS" ? "bits" : "values", values);
  row("access", node.access);
  row("status", node.status);
  row("units", node.units);
  std::string index;
  for (const std::string& object : node.index)
    index += (index.empty() ? "" : ", ") + object;
  row("index", index);
  row("augments", node.augments);
  row("description", mibs.Description(node));
  return kExitDone;
}

}  // namespace cli
