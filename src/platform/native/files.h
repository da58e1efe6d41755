#pragma once
// Files in the system's own path form, on this machine's folders (see PathMapper).
#include <string>

#include "platform/native/paths.h"
#include "platform/services.h"

namespace launchagent::native {

class NativeFileSystem : public platform::FileSystem {
 public:
  // sAgentFolderLocal: the folder of the running executable; sSystemFolderLocal: the
  // folder that plays the system folder's part.
  NativeFileSystem(const PathMapper& paths, std::string sAgentFolderLocal,
                   std::string sSystemFolderLocal)
      : paths_(paths),
        sAgentFolder_(std::move(sAgentFolderLocal)),
        sSystemFolder_(std::move(sSystemFolderLocal)) {}

  std::string AgentFolder() override;
  std::optional<std::vector<platform::DirEntry>> List(const std::string& sPattern, bool bHidden,
                                                      bool bFolders) override;
  bool FolderExists(const std::string& sPath) override;
  bool CanOpenForReading(const std::string& sPath) override;
  std::optional<Bytes> ReadFile(const std::string& sPath) override;
  bool ReplaceFile(const std::string& sPath, const Bytes& content) override;
  std::optional<std::string> SystemFolder() override;
  Integer CopyFile(const std::string& sSource, const std::string& sDestination) override;

 private:
  const PathMapper& paths_;
  std::string sAgentFolder_;
  std::string sSystemFolder_;
};

// Writes content beside sLocalPath, flushes it to disk and renames it into place.
bool ReplaceLocalFile(const std::string& sLocalPath, const std::string& sContent);
// The folder holding the running executable.
std::string ExecutableFolder();

}  // namespace launchagent::native
