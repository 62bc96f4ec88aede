// Which pages the sheet shows, and the View menu's enable and check rules; the window tests
// drive the same rules through the menu.
#include <gtest/gtest.h>

#include "app/page_set.h"

namespace app {
namespace {

using Pages = std::vector<int>;

TEST(PageSet, StartUpOrderAndWhatMayBeAddedOrRemoved) {
  const PageFlags all;
  EXPECT_EQ(CPageSet(all).Pages(), (Pages{104, 105, 106, 110}));
  EXPECT_EQ(CPageSet(all).Active(), 104);
  EXPECT_EQ(CPageSet(PageFlags{true, false, true, false, true}).Pages(), (Pages{105, 110}));

  CPageSet set(PageFlags{false, false, false, false, false});
  EXPECT_EQ(set.Pages(), (Pages{112}));
  EXPECT_TRUE(set.PlaceholderShown());
  EXPECT_FALSE(set.Remove(105));
  EXPECT_FALSE(set.Remove(112));  // the placeholder is not a page the user switches
  EXPECT_TRUE(set.Add(106));
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
    EXPECT_EQ((std::vector<bool>{ping.enabled, ping.checked, disc.enabled, disc.checked}),
              std::vector<bool>(4, icmp));
    EXPECT_TRUE(PageSwitchState(all, kPageWalkMib, icmp).enabled);
    EXPECT_TRUE(PageSwitchState(all, kPageWalkMib, icmp).checked);
    EXPECT_FALSE(PageSwitchState(only_ping, kPageGetSet, icmp).checked);
  }
}

}  // namespace
}  // namespace app
