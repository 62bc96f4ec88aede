#include "ui/secret_service_store.h"

#include <libsecret/secret.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "util/text.h"

namespace app {

namespace {

// One item per agent, user and password: "host", "user" and "kind" ("auth" or "priv").
const SecretSchema* Schema() {
  static const SecretSchema schema = [] {
    SecretSchema s{};
    s.name = "com.tarvik.SondaraUtility.SnmpV3Password";
    s.flags = SECRET_SCHEMA_NONE;
    s.attributes[0] = {"host", SECRET_SCHEMA_ATTRIBUTE_STRING};
    s.attributes[1] = {"user", SECRET_SCHEMA_ATTRIBUTE_STRING};
    s.attributes[2] = {"kind", SECRET_SCHEMA_ATTRIBUTE_STRING};
    return s;
  }();
  return &schema;
}

struct Attributes {
  explicit Attributes(const SecretKey& key)
      : host(tvkutil::ToUtf8(key.host)),
        user(tvkutil::ToUtf8(key.user_name)),
        kind(key.kind == SecretKey::Kind::kAuth ? "auth" : "priv") {}
  std::string host;
  std::string user;
  const char* kind;
};

// Frees a GError and says whether there was one.
bool Failed(GError* error) {
  if (error == nullptr)
    return false;
  g_error_free(error);
  return true;
}

bool SessionBusConfigured() {
  if (std::getenv("DBUS_SESSION_BUS_ADDRESS") != nullptr)
    return true;
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  std::error_code ec;
  return runtime != nullptr && std::filesystem::exists(std::filesystem::path(runtime) / "bus", ec);
}

}  // namespace

bool CSecretServiceStore::Available() {
  if (!available_) {
    available_ = false;
    if (SessionBusConfigured()) {
      // A lookup of nothing: fails at once when no Secret Service runs.
      GError* error = nullptr;
      gchar* none = secret_password_lookup_sync(Schema(), nullptr, &error, "host", "", "user", "",
                                                "kind", "", nullptr);
      secret_password_free(none);
      available_ = !Failed(error);
    }
  }
  return *available_;
}

std::optional<std::wstring> CSecretServiceStore::Lookup(const SecretKey& key) {
  if (!Available())
    return std::nullopt;
  const Attributes a(key);
  GError* error = nullptr;
  gchar* password = secret_password_lookup_sync(Schema(), nullptr, &error, "host", a.host.c_str(),
                                                "user", a.user.c_str(), "kind", a.kind, nullptr);
  if (Failed(error) || password == nullptr)
    return std::nullopt;
  std::wstring text = tvkutil::FromUtf8Lenient(password);
  secret_password_free(password);
  return text;
}

bool CSecretServiceStore::Store(const SecretKey& key, const std::wstring& password) {
  if (!Available())
    return false;
  const Attributes a(key);
  GError* error = nullptr;
  if (password.empty()) {
    secret_password_clear_sync(Schema(), nullptr, &error, "host", a.host.c_str(), "user",
                               a.user.c_str(), "kind", a.kind, nullptr);
    return !Failed(error);
  }
  const std::string label =
      "Sondara Utility: SNMPv3 " + std::string(a.kind) + " password of " + a.user + "@" + a.host;
  const std::string text = tvkutil::ToUtf8(password);
  secret_password_store_sync(Schema(), SECRET_COLLECTION_DEFAULT, label.c_str(), text.c_str(),
                             nullptr, &error, "host", a.host.c_str(), "user", a.user.c_str(),
                             "kind", a.kind, nullptr);
  return !Failed(error);
}

}  // namespace app
