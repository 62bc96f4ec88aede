// Where SNMPv3 passwords outlive the run: the desktop keyring (the window program hands one in),
// never a file of ours. Without one the passwords live in the page settings for the run only.
#pragma once

#include <optional>
#include <string>

namespace app {

// One password: the agent and user it opens, and which of the two it is.
struct SecretKey {
  std::wstring host;
  std::wstring user_name;
  enum class Kind { kAuth, kPriv } kind = Kind::kAuth;
};

class ISecretStore {
 public:
  virtual ~ISecretStore() = default;
  // False when no keyring answers: nothing outlives the run.
  virtual bool Available() = 0;
  // Nothing when none is kept (or the keyring does not answer).
  virtual std::optional<std::wstring> Lookup(const SecretKey& key) = 0;
  // An empty password removes the kept one. False when the keyring refused it.
  virtual bool Store(const SecretKey& key, const std::wstring& password) = 0;
};

}  // namespace app
