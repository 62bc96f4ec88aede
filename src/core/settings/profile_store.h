// The per-user profile as the windows see it: small values by section and key (column widths,
// last folders, window placement). The application object implements it; views take this
// instead of the whole application, and tests hand in a map.
#pragma once

#include <string>
#include <string_view>

namespace tvkutil {

class IProfileStore {
 public:
  virtual ~IProfileStore() = default;
  virtual int GetProfileInt(std::wstring_view section, std::wstring_view entry, int def) const = 0;
  virtual std::wstring GetProfileString(std::wstring_view section, std::wstring_view entry,
                                        std::wstring_view def) const = 0;
  // Each write reaches the store at once; false when it could not be written.
  virtual bool WriteProfileInt(std::wstring_view section, std::wstring_view entry, int value) = 0;
  virtual bool WriteProfileString(std::wstring_view section, std::wstring_view entry,
                                  std::wstring_view value) = 0;
};

}  // namespace tvkutil
