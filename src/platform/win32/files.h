#pragma once
// Files in the system's own path form, through the Windows file calls. A record file
// is replaced as one step: the new content is written beside it and moved into place,
// so an interrupted save leaves the old file whole (and its leftover is removed by the
// next save).
#include <string>

#include "platform/services.h"

namespace launchagent::win32 {

class Win32FileSystem : public platform::FileSystem {
 public:
  std::string AgentFolder() override;
  std::optional<std::vector<platform::DirEntry>> List(const std::string& sPattern, bool bHidden,
                                                      bool bFolders) override;
  bool FolderExists(const std::string& sPath) override;
  bool CanOpenForReading(const std::string& sPath) override;
  std::optional<Bytes> ReadFile(const std::string& sPath) override;
  bool ReplaceFile(const std::string& sPath, const Bytes& content) override;
  std::optional<std::string> SystemFolder() override;
  Integer CopyFile(const std::string& sSource, const std::string& sDestination) override;
};

// The name a save of sPath writes to before moving it into place.
std::string TemporaryNameFor(const std::string& sPath, unsigned long lngProcessId);

}  // namespace launchagent::win32
