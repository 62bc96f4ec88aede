#include "mib/mib_set.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <set>

namespace mib {

namespace {

constexpr std::array<std::string_view, 7> kKindNames = {"node",   "scalar",       "table", "row",
                                                        "column", "notification", "group"};

std::vector<std::string_view> Split(std::string_view text, char by) {
  std::vector<std::string_view> out;
  for (std::size_t from = 0;;) {
    const std::size_t at = text.find(by, from);
    out.push_back(text.substr(from, at == std::string_view::npos ? at : at - from));
    if (at == std::string_view::npos)
      return out;
    from = at + 1;
  }
}

// Dotted decimal arcs, a leading dot allowed; false for anything else or an arc above 2^32-1.
bool ReadArcs(std::string_view text, Arcs& out) {
  if (!text.empty() && text.front() == '.')
    text.remove_prefix(1);
  if (text.empty())
    return true;
  std::uint64_t n = 0;
  std::size_t digits = 0;
  for (std::size_t i = 0; i <= text.size(); ++i) {
    if (i == text.size() || text[i] == '.') {
      if (digits == 0 || n > 0xFFFFFFFFu)
        return false;
      out.push_back(static_cast<std::uint32_t>(n));
      n = 0;
      digits = 0;
    } else if (text[i] < '0' || text[i] > '9' || ++digits > 10) {
      return false;
    } else {
      n = n * 10 + static_cast<std::uint64_t>(text[i] - '0');
    }
  }
  return true;
}

std::uint32_t Number(std::string_view text) {
  std::uint32_t n = 0;
  for (char c : text)
    n = n * 10 + static_cast<std::uint32_t>(c - '0');
  return n;
}

// The program's folder, "/" at the end; empty when unknown.
std::string ProgramFolder() {
  std::string path(4096, '\0');
  const ssize_t n = ::readlink("/proc/self/exe", path.data(), path.size());
  if (n <= 0)
    return {};
  path.resize(static_cast<std::size_t>(n));
  return path.substr(0, path.rfind('/') + 1);
}

bool IsFile(const std::string& path) {
  return std::ifstream(path).good();
}

}  // namespace


namespace {

std::vector<std::string>& ExtraFolders() {
  static std::vector<std::string> folders;
  return folders;
}

}  // namespace

void CMibSet::AddFolders(std::vector<std::string> folders) {
  ExtraFolders() = std::move(folders);
}

const CMibSet& CMibSet::Builtin() {
  // Read by the first caller; C++ makes the others wait for it.
  static CMibSet* const set = [] {
    auto* loaded = new CMibSet;  // never freed: names are asked for until the very end
    loaded->LoadTable(TableFolder());
    SmiLoadRequest request;
    request.folders = ExtraFolders();
    for (std::string& folder : StandardMibFolders())
      request.folders.push_back(std::move(folder));
    request.base_folder = BaseMibFolder();
    SmiLoadResult read = LoadMibModules(request);
    // A module of the user's replaces the built-in one of its name, unless it could not be
    // read whole: then the built-in one, complete, stays.
    std::set<std::string> partial;
    for (const MibProblem& problem : read.problems)
      partial.insert(problem.module);
    std::erase_if(read.nodes, [&](const MibNode& node) {
      return partial.count(node.module) != 0 && loaded->Find(node.module, node.name) != nullptr;
    });
    loaded->problems_ = std::move(read.problems);
    loaded->AddModules(std::move(read.nodes));
    return loaded;
  }();
  return *set;
}

const std::vector<MibProblem>& CMibSet::Problems() const {
  return problems_;
}

std::string CMibSet::TableFolder() {
  if (const char* folder = std::getenv("SONDARA_MIB_TABLE"); folder != nullptr && *folder != 0)
    return std::string(folder) + (std::string_view(folder).ends_with('/') ? "" : "/");
  const std::string program = ProgramFolder();
  for (const std::string& candidate : {program + "mibs/", program + "../share/sondara/mibs/"}) {
    if (IsFile(candidate + "builtin.tab"))
      return candidate;
  }
  return {};
}

bool CMibSet::LoadTable(const std::string& folder) {
  std::ifstream in(folder + "builtin.tab", std::ios::binary);
  if (folder.empty() || !in)
    return false;
  // Read whole and cut in place: the table's 20,000 lines make no allocation of their own.
  in.seekg(0, std::ios::end);
  std::string text(static_cast<std::size_t>(std::max<std::streamoff>(in.tellg(), 0)), '\0');
  in.seekg(0);
  if (!in.read(text.data(), static_cast<std::streamsize>(text.size())))
    return false;
  std::unique_lock lock(mutex_);
  description_file_ = folder + "builtin.desc";
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  by_name_.reserve(by_name_.size() + lines);
  description_at_.reserve(description_at_.size() + lines);
  std::array<std::string_view, 15> f;
  for (std::size_t from = 0; from < text.size();) {
    std::size_t end = text.find('\n', from);
    if (end == std::string::npos)
      end = text.size();
    const std::string_view line = std::string_view(text).substr(from, end - from);
    from = end + 1;
    std::size_t fields = 0;
    for (std::size_t at = 0; fields < f.size(); ++fields) {
      const std::size_t tab = line.find('\t', at);
      f[fields] = line.substr(at, tab == std::string_view::npos ? tab : tab - at);
      if (tab == std::string_view::npos) {
        ++fields;
        break;
      }
      at = tab + 1;
    }
    if (fields != f.size())
      continue;
    MibNode node;
    node.oid.reserve(static_cast<std::size_t>(std::count(f[0].begin(), f[0].end(), '.')) + 1);
    if (!ReadArcs(f[0], node.oid) || node.oid.empty())
      continue;
    node.module = f[1];
    node.name = f[2];
    const auto kind = std::find(kKindNames.begin(), kKindNames.end(), f[3]);
    node.kind = static_cast<NodeKind>(kind == kKindNames.end() ? 0 : kind - kKindNames.begin());
    node.syntax = f[4];
    node.type_name = f[5];
    node.display_hint = f[6];
    if (!f[7].empty()) {
      for (std::string_view pair : Split(f[7], ',')) {
        const std::size_t eq = pair.rfind('=');
        if (eq == std::string_view::npos)
          continue;
        const bool negative = pair.substr(eq + 1).starts_with('-');
        const std::int64_t n = Number(pair.substr(eq + 1 + (negative ? 1 : 0)));
        node.enums.emplace_back(negative ? -n : n, std::string(pair.substr(0, eq)));
      }
      std::sort(node.enums.begin(), node.enums.end());
    }
    node.access = f[8];
    node.status = f[9];
    node.units = f[10];
    if (!f[11].empty()) {
      for (std::string_view index : Split(f[11], ','))
        node.index.emplace_back(index);
    }
    node.augments = f[12];
    const MibNode& kept = nodes_.emplace_back(std::move(node));
    description_at_[&kept] = {Number(f[13]), Number(f[14])};
    Index(kept);
  }
  return true;
}

int CMibSet::Rank(const MibNode& node) const {
  static const std::set<std::string_view> kPreferred = {"SNMPv2-SMI", "SNMPv2-MIB", "IF-MIB",
                                                        "IP-MIB"};
  static const std::set<std::string_view> kReplaced = {"RFC1213-MIB", "RFC1158-MIB", "RFC1155-SMI"};
  if (user_modules_.count(node.module) != 0)
    return 0;
  if (kPreferred.count(node.module) != 0)
    return 1;
  return kReplaced.count(node.module) != 0 ? 3 : 2;
}

void CMibSet::Index(const MibNode& node) {
  auto [at, added] = by_oid_.emplace(node.oid, &node);
  if (!added && Rank(node) < Rank(*at->second))
    at->second = &node;
  by_name_.emplace(node.name, &node);
}

void CMibSet::Reindex() {
  by_oid_.clear();
  by_name_.clear();
  for (const MibNode& node : nodes_) {
    if (replaced_.count(&node) == 0)
      Index(node);
  }
}

void CMibSet::AddModules(std::vector<MibNode> nodes) {
  std::unique_lock lock(mutex_);
  std::set<std::string> modules;
  for (const MibNode& node : nodes)
    modules.insert(node.module);
  for (const MibNode& node : nodes_) {
    if (modules.count(node.module) != 0)
      replaced_.insert(&node);
  }
  user_modules_.insert(modules.begin(), modules.end());
  for (MibNode& node : nodes)
    nodes_.push_back(std::move(node));
  Reindex();
}

std::size_t CMibSet::Size() const {
  std::shared_lock lock(mutex_);
  return by_oid_.size();
}

OidMatch CMibSet::Match(std::span<const std::uint32_t> oid) const {
  std::shared_lock lock(mutex_);
  // The known OID sorted last at or before `oid` shares some prefix with it; no key longer than
  // that prefix can be a prefix of `oid` (it would sort between the two), so look that prefix up
  // and go on with it: a few steps, no allocation.
  std::span<const std::uint32_t> rest = oid;
  while (!rest.empty()) {
    auto at = by_oid_.upper_bound(rest);
    if (at == by_oid_.begin())
      break;
    --at;
    const auto [mine, theirs] =
        std::mismatch(rest.begin(), rest.end(), at->first.begin(), at->first.end());
    if (theirs == at->first.end()) {
      const auto length = at->first.size();
      return {at->second, Arcs(oid.begin() + static_cast<std::ptrdiff_t>(length), oid.end())};
    }
    rest = rest.first(static_cast<std::size_t>(mine - rest.begin()));
  }
  return {};
}

std::string CMibSet::NameOf(std::span<const std::uint32_t> oid) const {
  return NameOf(Match(oid));
}

std::string CMibSet::NameOf(const OidMatch& match) {
  if (match.node == nullptr)
    return {};
  std::string out = match.node->module + "::" + match.node->name;
  for (std::uint32_t arc : match.suffix)
    out += "." + std::to_string(arc);
  return out;
}

const MibNode* CMibSet::Find(std::string_view module, std::string_view name) const {
  std::shared_lock lock(mutex_);
  const MibNode* best = nullptr;
  const auto [first, last] = by_name_.equal_range(std::string(name));
  for (auto it = first; it != last; ++it) {
    const MibNode* node = it->second;
    if (!module.empty() && node->module != module)
      continue;
    if (best == nullptr || Rank(*node) < Rank(*best))
      best = node;
  }
  return best;
}

bool CMibSet::ToOid(std::string_view text, Arcs& out, std::string& error) const {
  out.clear();
  const std::string quoted = "'" + std::string(text) + "'";
  if (text.empty() || text.front() == '.' || (text.front() >= '0' && text.front() <= '9')) {
    if (ReadArcs(text, out) && !out.empty())
      return true;
    error = "bad OID " + quoted;
    return false;
  }
  std::string_view module;
  if (const std::size_t colons = text.find("::"); colons != std::string_view::npos) {
    module = text.substr(0, colons);
    text.remove_prefix(colons + 2);
  }
  const std::size_t dot = text.find('.');
  const std::string_view name = text.substr(0, dot);
  const MibNode* node = Find(module, name);
  if (node == nullptr) {
    error = "no object named '" + std::string(module) + (module.empty() ? "" : "::") +
            std::string(name) + "'";
    return false;
  }
  out = node->oid;
  if (dot != std::string_view::npos && !ReadArcs(text.substr(dot), out)) {
    error = "bad instance '" + std::string(text.substr(dot)) + "' after '" + std::string(name) +
            "' (digits and dots)";
    return false;
  }
  return true;
}

void CMibSet::ForEachNode(const std::function<void(const MibNode&)>& visit) const {
  std::shared_lock lock(mutex_);
  for (const auto& [oid, node] : by_oid_)
    visit(*node);
}

std::string CMibSet::Description(const MibNode& node) const {
  std::shared_lock lock(mutex_);
  if (!node.description.empty())
    return node.description;
  const auto at = description_at_.find(&node);
  if (at == description_at_.end() || at->second.second == 0)
    return {};
  std::ifstream in(description_file_, std::ios::binary);
  std::string text(at->second.second, '\0');
  in.seekg(at->second.first);
  if (!in.read(text.data(), static_cast<std::streamsize>(text.size())))
    return {};
  return text;
}

std::string OidTextOfName(std::string_view text, std::string& error) {
  error.clear();
  if (text.empty() || text.front() == '.' || (text.front() >= '0' && text.front() <= '9'))
    return std::string(text);
  Arcs arcs;
  if (!CMibSet::Builtin().ToOid(text, arcs, error))
    return {};
  std::string out;
  for (std::uint32_t arc : arcs)
    out += "." + std::to_string(arc);
  return out;
}

}  // namespace mib
