// Where a window may go: a placement kept on a monitor that is gone, or on a larger screen,
// must still open where the user can see and reach it.
#pragma once

#include <QList>
#include <QRect>

namespace app {

// `window` (frame included) unchanged when one of `screens` (their available areas) holds it
// whole; otherwise moved, and shrunk where it is larger, onto the screen it overlaps most, or
// the nearest when it overlaps none. Unchanged when there are no screens.
QRect FitOntoScreens(const QRect& window, const QList<QRect>& screens);

}  // namespace app
