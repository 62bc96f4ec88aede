#include "ui/screen_fit.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace app {

namespace {

std::int64_t Overlap(const QRect& a, const QRect& b) {
  const QRect common = a.intersected(b);
  return common.isEmpty() ? 0 : std::int64_t{common.width()} * common.height();
}

// Squared distance between the two rectangles' nearest edges; 0 when they touch or overlap.
std::int64_t Gap(const QRect& a, const QRect& b) {
  const std::int64_t dx = std::max({0, b.left() - a.right(), a.left() - b.right()});
  const std::int64_t dy = std::max({0, b.top() - a.bottom(), a.top() - b.bottom()});
  return dx * dx + dy * dy;
}

}  // namespace

QRect FitOntoScreens(const QRect& window, const QList<QRect>& screens) {
  if (screens.isEmpty() || std::any_of(screens.begin(), screens.end(), [&](const QRect& screen) {
        return screen.contains(window);
      })) {
    return window;
  }
  const QRect* best = &screens.front();
  std::int64_t best_overlap = -1;
  std::int64_t best_gap = std::numeric_limits<std::int64_t>::max();
  for (const QRect& screen : screens) {
    const std::int64_t overlap = Overlap(window, screen);
    const std::int64_t gap = Gap(window, screen);
    if (overlap > best_overlap || (overlap == 0 && best_overlap == 0 && gap < best_gap)) {
      best = &screen;
      best_overlap = overlap;
      best_gap = gap;
    }
  }
  const QRect& target = *best;
  const int width = std::min(window.width(), target.width());
  const int height = std::min(window.height(), target.height());
  const int x = std::clamp(window.x(), target.left(), target.left() + target.width() - width);
  const int y = std::clamp(window.y(), target.top(), target.top() + target.height() - height);
  return {x, y, width, height};
}

}  // namespace app
