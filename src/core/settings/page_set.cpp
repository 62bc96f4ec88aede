#include "settings/page_set.h"

#include <algorithm>

namespace app {

bool& PageFlags::ForPage(PageId id) {
  switch (id) {
    case kPageDeviceDiscovery:
      return device_discovery;
    case kPageGetSet:
      return get_set;
    case kPageSendTrap:
      return send_trap;
    case kPageNotifications:
      return notifications;
    default:
      return walk_mib;
  }
}

bool CPageSet::IsOperationPage(int id) {
  return id == kPageDeviceDiscovery || id == kPageGetSet || id == kPageSendTrap ||
         id == kPageWalkMib || id == kPageNotifications;
}

CPageSet::CPageSet(const PageFlags& flags) {
  PageFlags f = flags;
  for (PageId id :
       {kPageDeviceDiscovery, kPageGetSet, kPageSendTrap, kPageWalkMib, kPageNotifications}) {
    if (f.ForPage(id))
      pages_.push_back(id);
  }
  if (pages_.empty()) {
    pages_.push_back(kPageNoFunctionality);
    placeholder_shown_ = true;
  }
  active_ = pages_.front();
}

bool CPageSet::Add(int id) {
  if (!IsOperationPage(id) || std::find(pages_.begin(), pages_.end(), id) != pages_.end()) {
    return false;
  }
  pages_.push_back(id);
  active_ = id;
  if (placeholder_shown_) {
    std::erase(pages_, static_cast<int>(kPageNoFunctionality));
    placeholder_shown_ = false;
  }
  return true;
}

bool CPageSet::Remove(int id) {
  const auto it = std::find(pages_.begin(), pages_.end(), id);
  if (!IsOperationPage(id) || it == pages_.end())
    return false;
  pages_.erase(it);
  if (pages_.empty()) {
    pages_.push_back(kPageNoFunctionality);
    placeholder_shown_ = true;
  }
  if (active_ == id)
    active_ = pages_.front();
  return true;
}

bool SaveSnapshotEnabled(const PageFlags& flags, bool icmp_available) {
  return ((flags.ping_toolbar || flags.device_discovery) && icmp_available) || flags.get_set ||
         flags.send_trap || flags.walk_mib || flags.notifications;
}

CommandState PageSwitchState(const PageFlags& flags, PageId id, bool icmp_available) {
  PageFlags f = flags;
  const bool on = f.ForPage(id);
  if (id == kPageDeviceDiscovery)
    return {icmp_available, on && icmp_available};
  return {true, on};
}

CommandState PingToolbarState(const PageFlags& flags, bool icmp_available) {
  return {icmp_available, flags.ping_toolbar && icmp_available};
}

}  // namespace app
