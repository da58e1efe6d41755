#pragma once
// Starting programs and naming the computer.
#include <string>

#include "platform/native/paths.h"
#include "platform/services.h"

namespace launchagent::native {

// Starts the translated file as a detached process (its own session, not our child
// for long), the parameters split as a Windows program would split them, the system
// folder on LD_LIBRARY_PATH so the libraries copied there are found.
class NativeShell : public platform::Shell {
 public:
  NativeShell(const PathMapper& paths, std::string sSystemFolderLocal)
      : paths_(paths), sSystemFolder_(std::move(sSystemFolderLocal)) {}
  Long Execute(const std::string& sVerb, const std::string& sFile, const std::string& sParameters,
               const std::string& sFolder, Long lngShowCmd) override;
  // Process id of the last program started; for tests.
  long LastPid() const { return lngLastPid_; }

 private:
  const PathMapper& paths_;
  std::string sSystemFolder_;
  long lngLastPid_ = 0;
};

class NativeKernel : public platform::Kernel {
 public:
  explicit NativeKernel(std::string sOverride) : sOverride_(std::move(sOverride)) {}
  std::optional<std::string> ComputerName() override;

 private:
  std::string sOverride_;
};

}  // namespace launchagent::native
