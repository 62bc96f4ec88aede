// Which pages the sheet shows, and the View menu's enable and check rules.
#include <gtest/gtest.h>

#include "app/page_set.h"

namespace app {
namespace {

using Pages = std::vector<int>;

TEST(PageSet, StartUpOrderAndPlaceholder) {
  PageFlags all;
  EXPECT_EQ(CPageSet(all).Pages(), (Pages{104, 105, 106, 110}));
  EXPECT_EQ(CPageSet(all).Active(), 104);

  PageFlags some{.ping_toolbar = false,
                 .device_discovery = false,
                 .get_set = true,
                 .send_trap = false,
                 .walk_mib = true};
  EXPECT_EQ(CPageSet(some).Pages(), (Pages{105, 110}));

  PageFlags none{false, false, false, false, false};
  CPageSet set(none);
  EXPECT_EQ(set.Pages(), (Pages{112}));
  EXPECT_TRUE(set.PlaceholderShown());
}

TEST(PageSet, TurningPagesOffAndOn) {
  CPageSet set(PageFlags{});
  for (int id : {104, 106, 110})
    EXPECT_TRUE(set.Remove(id));
  EXPECT_EQ(set.Pages(), (Pages{105}));
  EXPECT_TRUE(set.Remove(105));  // the last page: the placeholder comes in
  EXPECT_EQ(set.Pages(), (Pages{112}));
  EXPECT_TRUE(set.PlaceholderShown());
  EXPECT_FALSE(set.Remove(105));
  EXPECT_FALSE(set.Remove(112));  // the placeholder is not a page the user switches

  EXPECT_TRUE(set.Add(106));
  EXPECT_EQ(set.Pages(), (Pages{106}));
  EXPECT_FALSE(set.PlaceholderShown());
  EXPECT_TRUE(set.Add(105));  // appended, not put back at its start-up place
  EXPECT_EQ(set.Pages(), (Pages{106, 105}));
  EXPECT_EQ(set.Active(), 105);
  for (int bad : {107, 108, 109, 112, 0, 105})
    EXPECT_FALSE(set.Add(bad)) << bad;
}

TEST(PageSet, MenuRules) {
  const PageFlags all;
  const PageFlags only_ping{true, true, false, false, false};
  EXPECT_TRUE(SaveSnapshotEnabled(all, false));
  EXPECT_TRUE(SaveSnapshotEnabled(only_ping, true));
  EXPECT_FALSE(SaveSnapshotEnabled(only_ping, false));  // nothing that can work is on

  // Without ICMP the ping switches are greyed and unchecked whatever their flags say.
  for (bool icmp : {true, false}) {
    const CommandState ping = PingToolbarState(all, icmp);
    const CommandState disc = PageSwitchState(all, kPageDeviceDiscovery, icmp);
    EXPECT_EQ(ping.enabled, icmp);
    EXPECT_EQ(ping.checked, icmp);
    EXPECT_EQ(disc.enabled, icmp);
    EXPECT_EQ(disc.checked, icmp);
    EXPECT_TRUE(PageSwitchState(all, kPageWalkMib, icmp).enabled);
    EXPECT_TRUE(PageSwitchState(all, kPageWalkMib, icmp).checked);
    EXPECT_FALSE(PageSwitchState(only_ping, kPageGetSet, icmp).checked);
  }
}

}  // namespace
}  // namespace app
