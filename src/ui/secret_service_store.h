// The desktop keyring (the freedesktop Secret Service, through libsecret) as the place where
// the pages' SNMPv3 passwords outlive the run. Only the window program links it.
#pragma once

#include <optional>
#include <string>

#include "settings/secret_store.h"

namespace app {

class CSecretServiceStore : public ISecretStore {
 public:
  // True once a keyring has answered; asked once, on first use. Without a session bus nothing
  // is asked at all, so no bus is started for it.
  bool Available() override;
  std::optional<std::wstring> Lookup(const SecretKey& key) override;
  bool Store(const SecretKey& key, const std::wstring& password) override;

 private:
  std::optional<bool> available_;
};

}  // namespace app
