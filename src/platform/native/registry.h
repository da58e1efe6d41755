#pragma once
// The registry as a small store file per root, and the Run key mirrored as XDG
// autostart entries: the machine root's store and autostart folder are machine-wide,
// so without write access to them the key cannot be opened, as "access denied".
#include <map>
#include <string>

#include "platform/native/paths.h"
#include "platform/services.h"

namespace launchagent::native {

struct RegistryPlaces {
  std::string sStoreFile;
  std::string sAutostartDir;
};

class NativeRegistry : public platform::Registry {
 public:
  NativeRegistry(const PathMapper& paths, RegistryPlaces machine, RegistryPlaces user)
      : paths_(paths), machine_(std::move(machine)), user_(std::move(user)) {}
  std::optional<platform::RegistryKey> CreateKey(platform::RegistryRoot root,
                                                 const std::string& sSubKey) override;
  bool SetStringValue(platform::RegistryKey key, const std::string& sName,
                      const std::string& sData) override;
  bool CloseKey(platform::RegistryKey key) override;

  // The store's text: "[key]" lines followed by "name=data" lines; data escaped.
  static std::map<std::string, std::map<std::string, std::string>> ParseStore(
      const std::string& sText);
  static std::string FormatStore(
      const std::map<std::string, std::map<std::string, std::string>>& keys);
  // The autostart entry for a Run value.
  static std::string DesktopEntry(const std::string& sName, const std::string& sCommand);

 private:
  struct OpenKey {
    platform::RegistryRoot root;
    std::string sSubKey;
  };
  const RegistryPlaces& PlacesOf(platform::RegistryRoot root) const {
    return root == platform::RegistryRoot::LocalMachine ? machine_ : user_;
  }
  const PathMapper& paths_;
  RegistryPlaces machine_;
  RegistryPlaces user_;
  std::map<platform::RegistryKey, OpenKey> keys_;
  platform::RegistryKey nextKey_ = 0x80000100;
};

}  // namespace launchagent::native
