// The user texts of the string table as Qt strings, for the windows.
#pragma once

#include <QString>

#include "util/string_table.h"

namespace tvkutil {

inline QString UiText(int id) {
  return QString::fromStdWString(LoadString(id));
}

}  // namespace tvkutil
