// Which operation pages the property sheet shows, in which order, and when the placeholder
// page stands in for them. Kept apart from the widgets so the rules are tested without a window.
#pragma once

#include <vector>

namespace app {

enum PageId : int {
  kPageDeviceDiscovery = 104,
  kPageGetSet = 105,
  kPageSendTrap = 106,
  kPageWalkMib = 110,
  kPageNoFunctionality = 112,
  kPageNotifications = 120,
};

// The six switches of the View menu, as the profile keeps them. The Notifications page is new:
// off until asked for, so a window set up before it looks as it did.
struct PageFlags {
  bool ping_toolbar = true;
  bool device_discovery = true;
  bool get_set = true;
  bool send_trap = true;
  bool walk_mib = true;
  bool notifications = false;

  bool& ForPage(PageId id);
};

class CPageSet {
 public:
  // The start-up set: the pages whose flag is on, in the fixed order Device Discovery, Get/Set,
  // sendTrap, walkMIB, Notifications (Device Discovery even when ICMP is unavailable); the
  // placeholder alone when none is on. The first page is active.
  explicit CPageSet(const PageFlags& flags);

  // Appends a real page and makes it active; the placeholder goes. Other ids change nothing.
  // Returns whether the page was added.
  bool Add(int id);
  // Removes a real page; removing the last one brings in the placeholder first.
  bool Remove(int id);

  const std::vector<int>& Pages() const { return pages_; }
  bool PlaceholderShown() const { return placeholder_shown_; }
  int Active() const { return active_; }
  void SetActive(int id) { active_ = id; }

  static bool IsOperationPage(int id);

 private:
  std::vector<int> pages_;
  bool placeholder_shown_ = false;
  int active_ = 0;
};

// Enable and check rules of the menu commands that depend on the page switches.
struct CommandState {
  bool enabled;
  bool checked;
};
// "&Save Snapshot": some page that can work is on.
bool SaveSnapshotEnabled(const PageFlags& flags, bool icmp_available);
// "&Ping Toolbar" and "&Device Discovery" need ICMP; the other page switches always work.
CommandState PageSwitchState(const PageFlags& flags, PageId id, bool icmp_available);
CommandState PingToolbarState(const PageFlags& flags, bool icmp_available);

}  // namespace app
