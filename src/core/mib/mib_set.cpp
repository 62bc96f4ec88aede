#include "mib/mib_set.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <utility>

#include "mib/mib_cache.h"

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
  const char* p = text.data();
  const char* const end = p + text.size();
  if (p != end && *p == '.')
    ++p;
  if (p == end)
    return true;
  for (;;) {
    const char* const start = p;
    std::uint64_t n = 0;
    for (; p != end && *p >= '0' && *p <= '9'; ++p)
      n = n * 10 + static_cast<std::uint64_t>(*p - '0');
    if (p == start || p - start > 10 || n > 0xFFFFFFFFu)
      return false;
    out.push_back(static_cast<std::uint32_t>(n));
    if (p == end)
      return true;
    if (*p++ != '.')
      return false;
  }
}

constexpr std::size_t kTableFields = 15;

// A table line's tab-separated fields: OID, module, name, kind, syntax, textual convention,
// hint, enums, access, status, units, index, augments, description offset and length.
std::array<std::string_view, kTableFields> Fields(std::string_view line) {
  std::array<std::string_view, kTableFields> f;
  for (std::size_t i = 0, at = 0; i < f.size() && at <= line.size(); ++i) {
    const std::size_t tab = std::min(line.find('\t', at), line.size());
    f[i] = line.substr(at, tab - at);
    at = tab + 1;
  }
  return f;
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
    auto* loaded = new CMibSet;               // never freed: names are asked for until the very end
    loaded->ReadTable(TableFolder(), false);  // indexed once, with the user's modules
    SmiLoadRequest request;
    request.folders = ExtraFolders();
    for (std::string& folder : StandardMibFolders())
      request.folders.push_back(std::move(folder));
    request.base_folder = BaseMibFolder();
    SmiLoadResult read = LoadMibModulesCached(request, MibCacheFolder());
    // A module of the user's replaces the built-in one of its name, unless it could not be
    // read whole: then the built-in one, complete, stays.
    std::set<std::string, std::less<>> partial;
    for (const MibProblem& problem : read.problems)
      partial.insert(problem.module);
    std::set<std::pair<std::string_view, std::string_view>> built_in;
    for (Ref row = 0; row < loaded->TableRows() && !partial.empty(); ++row) {
      if (partial.count(loaded->ModuleAt(row)) != 0)
        built_in.emplace(loaded->ModuleAt(row), loaded->NameAt(row));
    }
    std::erase_if(read.nodes, [&](const MibNode& node) {
      return built_in.count({node.module, node.name}) != 0;
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
  return ReadTable(folder, true);
}

// A file mapped read-only for as long as this lives; empty when it cannot be.
class CMibSet::MappedFile {
 public:
  explicit MappedFile(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
      return;
    struct stat st {};
    if (::fstat(fd, &st) == 0 && st.st_size > 0) {
      void* map =
          ::mmap(nullptr, static_cast<std::size_t>(st.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
      if (map != MAP_FAILED)
        bytes_ = {static_cast<const char*>(map), static_cast<std::size_t>(st.st_size)};
    }
    ::close(fd);
  }
  ~MappedFile() {
    if (!bytes_.empty())
      ::munmap(const_cast<char*>(bytes_.data()), bytes_.size());
  }
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  std::string_view Bytes() const { return bytes_; }

 private:
  std::string_view bytes_;
};

CMibSet::CMibSet() = default;
CMibSet::~CMibSet() = default;

namespace {

constexpr std::size_t kIndexHead = 20, kIndexRow = 20;

// The index's numbers are little-endian, whatever the host.
template <typename Number>
Number Little(std::string_view bytes, std::size_t at) {
  Number n;
  std::memcpy(&n, bytes.data() + at, sizeof n);
  if constexpr (std::endian::native == std::endian::big) {
    if constexpr (sizeof n == 4)
      n = __builtin_bswap32(n);
    else
      n = __builtin_bswap16(n);
  }
  return n;
}

// A row of the index as written: where its line is, where its arcs are, and the lengths of the
// line's OID text, module and name, which come first on the line, each followed by a tab.
struct IndexRow {
  std::uint32_t line_at, line_size, first;
  std::uint16_t count, oid, module, name;
};
static_assert(sizeof(IndexRow) == kIndexRow);

// Copied whole: only the fields a caller reads are loaded.
IndexRow RowAt(std::string_view idx, std::size_t row) {
  IndexRow r;
  std::memcpy(&r, idx.data() + kIndexHead + row * kIndexRow, sizeof r);
  if constexpr (std::endian::native == std::endian::big) {
    for (std::uint32_t* n : {&r.line_at, &r.line_size, &r.first})
      *n = __builtin_bswap32(*n);
    for (std::uint16_t* n : {&r.count, &r.oid, &r.module, &r.name})
      *n = __builtin_bswap16(*n);
  }
  return r;
}

}  // namespace

bool CMibSet::ReadTable(const std::string& folder, bool index) {
  if (folder.empty())
    return false;
  // Both mapped, not read: the rows stay where the page cache has them, and no text is parsed
  // at start.
  auto table = std::make_unique<const MappedFile>(folder + "builtin.tab");
  auto where = std::make_unique<const MappedFile>(folder + "builtin.idx");
  const std::string_view tab = table->Bytes();
  const std::string_view idx = where->Bytes();
  if (tab.empty() || idx.size() < kIndexHead || idx.substr(0, 8) != "SNDRIDX1" ||
      Little<std::uint32_t>(idx, 8) != tab.size())
    return false;
  const std::size_t rows = Little<std::uint32_t>(idx, 12);
  const std::size_t arcs = Little<std::uint32_t>(idx, 16);
  const std::size_t arcs_at = kIndexHead + rows * kIndexRow;
  if (idx.size() != arcs_at + arcs * 4)
    return false;
  for (std::size_t row = 0; row < rows; ++row) {
    const IndexRow r = RowAt(idx, row);
    if (std::size_t{r.line_at} + r.line_size > tab.size() ||
        std::size_t{r.oid} + r.module + r.name + 3 > r.line_size ||
        std::size_t{r.first} + r.count > arcs || r.count == 0)
      return false;
  }
  std::unique_lock lock(mutex_);
  if (table_file_)
    return false;  // one table per set: rows are numbered from its first line
  table_file_ = std::move(table);
  index_file_ = std::move(where);
  table_text_ = tab;
  table_index_ = idx;
  table_rows_ = rows;
  // The arcs start on a multiple of four bytes of a mapping: used where they are.
  const auto* mapped_arcs = reinterpret_cast<const std::uint32_t*>(table_index_.data() + arcs_at);
  table_arcs_ = {mapped_arcs, arcs};
  if constexpr (std::endian::native == std::endian::big) {
    table_arcs_swapped_.assign(mapped_arcs, mapped_arcs + arcs);
    for (std::uint32_t& arc : table_arcs_swapped_)
      arc = __builtin_bswap32(arc);
    table_arcs_ = table_arcs_swapped_;
  }
  description_file_ = folder + "builtin.desc";
  if (index)
    Reindex();
  return true;
}

std::string_view CMibSet::RowText(Ref row) const {
  const IndexRow r = RowAt(table_index_, row);
  return table_text_.substr(r.line_at, r.line_size);
}

std::span<const std::uint32_t> CMibSet::OidAt(Ref ref) const {
  if (ref >= TableRows())
    return nodes_[ref - TableRows()].oid;
  const IndexRow r = RowAt(table_index_, ref);
  return table_arcs_.subspan(r.first, r.count);
}

std::string_view CMibSet::ModuleAt(Ref ref) const {
  if (ref >= TableRows())
    return nodes_[ref - TableRows()].module;
  const IndexRow r = RowAt(table_index_, ref);
  return table_text_.substr(std::size_t{r.line_at} + r.oid + 1, r.module);
}

std::string_view CMibSet::NameAt(Ref ref) const {
  if (ref >= TableRows())
    return nodes_[ref - TableRows()].name;
  const IndexRow r = RowAt(table_index_, ref);
  return table_text_.substr(std::size_t{r.line_at} + r.oid + r.module + 2, r.name);
}

int CMibSet::Rank(std::string_view module) const {
  static const std::set<std::string_view> kPreferred = {"SNMPv2-SMI", "SNMPv2-MIB", "IF-MIB",
                                                        "IP-MIB"};
  static const std::set<std::string_view> kReplaced = {"RFC1213-MIB", "RFC1158-MIB", "RFC1155-SMI"};
  if (user_modules_.count(module) != 0)
    return 0;
  if (kPreferred.count(module) != 0)
    return 1;
  return kReplaced.count(module) != 0 ? 3 : 2;
}

void CMibSet::Reindex() {
  entries_.clear();
  entries_.reserve(TableRows() + nodes_.size());
  // Rows come a module's run at a time: one look-up a run.
  std::string_view module;
  bool replaced = false;  // by the user's module of that name
  for (Ref row = 0; row < TableRows(); ++row) {
    if (const std::string_view row_module = ModuleAt(row); row_module != module) {
      module = row_module;
      replaced = user_modules_.count(module) != 0;
    }
    if (!replaced)
      entries_.push_back(row);
  }
  const std::size_t table_end = entries_.size();
  for (std::size_t i = 0; i < nodes_.size(); ++i) {
    if (replaced_.count(&nodes_[i]) == 0)
      entries_.push_back(TableRows() + static_cast<Ref>(i));
  }
  // By OID, one per OID: the best ranked, among equals the first loaded. The table comes
  // sorted; the user's nodes are sorted and merged in as it is read. Each row is compared with
  // the one kept before it once, which also finds a table out of order.
  const auto arcs_less = [this](Ref a, Ref b) { return ArcsLess{}(OidAt(a), OidAt(b)); };
  std::vector<Ref> user(entries_.begin() + static_cast<std::ptrdiff_t>(table_end), entries_.end());
  std::stable_sort(user.begin(), user.end(), arcs_less);
  bool sorted = true;
  std::span<const std::uint32_t> kept;  // the OID of by_oid_.back()
  const auto keep = [&](Ref ref) {
    const std::span<const std::uint32_t> oid = OidAt(ref);
    if (!by_oid_.empty()) {
      const auto order =
          std::lexicographical_compare_three_way(kept.begin(), kept.end(), oid.begin(), oid.end());
      sorted = sorted && order <= 0;
      if (order >= 0) {
        if (Rank(ModuleAt(ref)) < Rank(ModuleAt(by_oid_.back()))) {
          by_oid_.back() = ref;
          kept = oid;
        }
        return;
      }
    }
    by_oid_.push_back(ref);
    kept = oid;
  };
  by_oid_.clear();
  by_oid_.reserve(entries_.size());
  std::size_t row = 0;
  for (Ref node : user) {
    // The rows before the node's place, found by galloping: the user's nodes come in runs.
    std::size_t low = row, high = row, step = 1;
    while (high < table_end && !arcs_less(node, entries_[high])) {
      low = high + 1;
      high = std::min(table_end, high + step);
      step *= 2;
    }
    const auto place =
        std::upper_bound(entries_.begin() + static_cast<std::ptrdiff_t>(low),
                         entries_.begin() + static_cast<std::ptrdiff_t>(high), node, arcs_less);
    for (const auto until = static_cast<std::size_t>(place - entries_.begin());
         row < until && sorted; ++row)
      keep(entries_[row]);
    if (!sorted)
      break;
    keep(node);
  }
  for (; row < table_end && sorted; ++row)
    keep(entries_[row]);
  if (!sorted) {  // a table out of order: sorted here, slowly; equals stay in the order loaded
    std::vector<Ref> order = entries_;
    std::stable_sort(order.begin(), order.end(), arcs_less);
    by_oid_.clear();
    for (Ref ref : order)
      keep(ref);
  }
  std::lock_guard names_lock(names_mutex_);
  name_slots_.clear();  // made again when a name is first looked up
}

void CMibSet::HashNames() const {
  if (!name_slots_.empty())
    return;
  // Open addressing, linear probing; a name's entries are met in the order loaded.
  std::size_t slots = 16;
  while (slots < 2 * entries_.size())
    slots *= 2;
  name_slots_.assign(slots, 0);
  for (Ref ref : entries_) {
    std::size_t at = std::hash<std::string_view>{}(NameAt(ref)) & (slots - 1);
    while (name_slots_[at] != 0)
      at = (at + 1) & (slots - 1);
    name_slots_[at] = ref + 1;
  }
}

const MibNode* CMibSet::NodeOf(Ref ref) const {
  if (ref >= TableRows())
    return &nodes_[ref - TableRows()];
  std::lock_guard lock(made_mutex_);
  const MibNode*& made = made_of_row_[ref];
  if (made != nullptr)
    return made;
  const std::array<std::string_view, kTableFields> f = Fields(RowText(ref));
  MibNode node;
  const std::span<const std::uint32_t> oid = OidAt(ref);
  node.oid.assign(oid.begin(), oid.end());
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
  made = &made_.emplace_back(std::move(node));
  description_at_[made] = {Number(f[13]), Number(f[14])};
  return made;
}

void CMibSet::AddModules(std::vector<MibNode> nodes) {
  std::unique_lock lock(mutex_);
  std::set<std::string, std::less<>> modules;
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
    auto at = std::upper_bound(by_oid_.begin(), by_oid_.end(), rest,
                               [this](std::span<const std::uint32_t> key, Ref ref) {
                                 return ArcsLess{}(key, OidAt(ref));
                               });
    if (at == by_oid_.begin())
      break;
    const Ref ref = *--at;
    const std::span<const std::uint32_t> known = OidAt(ref);
    const auto [mine, theirs] = std::mismatch(rest.begin(), rest.end(), known.begin(), known.end());
    if (theirs == known.end()) {
      const auto length = known.size();
      // What lies below a node sorts right after it.
      const std::span<const std::uint32_t> next =
          at + 1 == by_oid_.end() ? std::span<const std::uint32_t>() : OidAt(at[1]);
      const bool leaf = next.size() <= length || !std::ranges::equal(known, next.first(length));
      return {NodeOf(ref), Arcs(oid.begin() + static_cast<std::ptrdiff_t>(length), oid.end()),
              leaf};
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
  std::optional<Ref> best;
  {
    // A walk names objects by OID only: the hash waits for the first name typed.
    std::lock_guard names_lock(names_mutex_);
    HashNames();
  }
  const std::size_t mask = name_slots_.size() - 1;
  for (std::size_t at = std::hash<std::string_view>{}(name)&mask;
       !name_slots_.empty() && name_slots_[at] != 0; at = (at + 1) & mask) {
    const Ref ref = name_slots_[at] - 1;
    if (NameAt(ref) != name || (!module.empty() && ModuleAt(ref) != module))
      continue;
    if (!best || Rank(ModuleAt(ref)) < Rank(ModuleAt(*best)))
      best = ref;
  }
  return best ? NodeOf(*best) : nullptr;
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
  for (Ref ref : by_oid_)
    visit(*NodeOf(ref));
}

void CMibSet::ForEachName(
    const std::function<void(std::string_view module, std::string_view name)>& visit) const {
  std::shared_lock lock(mutex_);
  for (Ref ref : entries_)
    visit(ModuleAt(ref), NameAt(ref));
}

std::string CMibSet::Description(const MibNode& node) const {
  std::shared_lock lock(mutex_);
  if (!node.description.empty())
    return node.description;
  std::pair<std::uint32_t, std::uint32_t> at;
  {
    std::lock_guard made_lock(made_mutex_);
    const auto found = description_at_.find(&node);
    if (found == description_at_.end() || found->second.second == 0)
      return {};
    at = found->second;
  }
  std::ifstream in(description_file_, std::ios::binary);
  std::string text(at.second, '\0');
  in.seekg(at.first);
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
