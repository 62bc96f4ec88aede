// The MIB nodes this program knows, found by OID or by name: the standard modules' table
// written at build time (read on first use) and the modules read from the user's files.
#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <shared_mutex>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "mib/mib_node.h"
#include "mib/smi_loader.h"

namespace mib {

using Arcs = std::vector<std::uint32_t>;

// The node of the longest known prefix of an OID and what follows it (the instance).
struct OidMatch {
  const MibNode* node = nullptr;
  Arcs suffix;
  bool leaf = false;  // no known OID lies below the node: every OID under it matches it too
};

// OIDs in the order of their arcs; a span is looked up without copying it into a key.
struct ArcsLess {
  using is_transparent = void;
  bool operator()(std::span<const std::uint32_t> a, std::span<const std::uint32_t> b) const {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
  }
};

class CMibSet {
 public:
  CMibSet();
  ~CMibSet();
  CMibSet(const CMibSet&) = delete;
  CMibSet& operator=(const CMibSet&) = delete;

  // The standard modules, read from TableFolder() by the first caller (any thread), and the
  // user's MIB files from AddFolders() and the usual folders. Without a table (the build had
  // none to write) only the user's modules give names.
  static const CMibSet& Builtin();
  // $SONDARA_MIB_TABLE when set; else "mibs/" beside the program (the build tree), else
  // "../share/sondara/mibs/" from the program's folder (an installed program).
  static std::string TableFolder();
  // Folders of MIB files read before the usual ones (--mibdir, Options); only before first use.
  static void AddFolders(std::vector<std::string> folders);
  // What could not be read of the user's MIB files when the set was made.
  const std::vector<MibProblem>& Problems() const;

  // Reads folder + "builtin.tab"; its descriptions stay in "builtin.desc" until asked for.
  // False, and nothing added, when there is no table.
  bool LoadTable(const std::string& folder);
  // Nodes of modules read elsewhere (the user's files): a module of a name already known
  // replaces the one there, and names and OIDs prefer these over built-in ones.
  void AddModules(std::vector<MibNode> nodes);

  std::size_t Size() const;
  OidMatch Match(std::span<const std::uint32_t> oid) const;
  // "IF-MIB::ifDescr.1"; empty when no prefix of `oid` is known.
  std::string NameOf(std::span<const std::uint32_t> oid) const;
  static std::string NameOf(const OidMatch& match);
  // "sysDescr.0", "IF-MIB::ifDescr.1", "ifDescr": the OID; false with the reason in `error`.
  bool ToOid(std::string_view name, Arcs& out, std::string& error) const;
  const MibNode* Find(std::string_view module, std::string_view name) const;
  std::string Description(const MibNode& node) const;
  // Every OID's node (the one names resolve to) in the order of the OIDs; `visit` must not
  // call back into the set.
  void ForEachNode(const std::function<void(const MibNode&)>& visit) const;
  // Every known module and name, without reading the table's rows into nodes.
  void ForEachName(
      const std::function<void(std::string_view module, std::string_view name)>& visit) const;

 private:
  // One known OID or name: below TableRows(), a row of the built-in table, read into a MibNode
  // only when asked for; from there on, the user's node nodes_[ref - TableRows()].
  using Ref = std::uint32_t;

  // Lower wins where modules define one OID or one name: the user's modules, then the standard
  // SNMPv2/IF/IP modules, then the rest, then the SMIv1 ones they replaced (RFC1213-MIB...).
  int Rank(std::string_view module) const;
  bool ReadTable(const std::string& folder, bool index);
  void Reindex();          // unique lock held
  void HashNames() const;  // shared lock and names_mutex_ held
  Ref TableRows() const { return static_cast<Ref>(table_rows_); }
  std::string_view RowText(Ref row) const;
  std::span<const std::uint32_t> OidAt(Ref ref) const;
  std::string_view ModuleAt(Ref ref) const;
  std::string_view NameAt(Ref ref) const;
  const MibNode* NodeOf(Ref ref) const;

  mutable std::shared_mutex mutex_;
  // The table and its index as mapped, and their bytes. The index says where each row, its
  // module and name are and holds its OID as numbers (little-endian); nothing of it is copied,
  // so a walk with names costs the memory of the rows it names.
  class MappedFile;
  std::unique_ptr<const MappedFile> table_file_;
  std::unique_ptr<const MappedFile> index_file_;
  std::string_view table_text_;
  std::string_view table_index_;
  std::size_t table_rows_ = 0;
  std::span<const std::uint32_t> table_arcs_;
  std::vector<std::uint32_t> table_arcs_swapped_;  // a big-endian host's copy
  std::string description_file_;
  std::deque<MibNode> nodes_;  // the user's; never shrinks: pointers handed out stay valid
  std::set<std::string, std::less<>> user_modules_;
  std::set<const MibNode*> replaced_;  // user nodes of a module loaded again
  std::vector<Ref> entries_;           // the table's rows not replaced, then the user's nodes
  std::vector<Ref> by_oid_;            // entries in the order of OIDs, one per OID
  // A hash table of entries by name, ref + 1; made on first use, under names_mutex_.
  mutable std::mutex names_mutex_;
  mutable std::vector<std::uint32_t> name_slots_;
  std::vector<MibProblem> problems_;

  // Table rows read into nodes so far, kept for the set's life (pointers handed out).
  mutable std::mutex made_mutex_;
  mutable std::deque<MibNode> made_;
  mutable std::unordered_map<Ref, const MibNode*> made_of_row_;
  mutable std::unordered_map<const MibNode*, std::pair<std::uint32_t, std::uint32_t>>
      description_at_;
};

// Text typed where an OID goes, as dotted numbers: dotted text as typed (the OID checks name
// its faults more closely), a name ("sysDescr.0", "IF-MIB::ifDescr.1") as ".1.3.6...".
// Empty, with the reason in `error`, for a name no module knows.
std::string OidTextOfName(std::string_view text, std::string& error);

}  // namespace mib
