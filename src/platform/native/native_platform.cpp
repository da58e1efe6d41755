#include "platform/native/native_platform.h"

#include "platform/text.h"

namespace launchagent::native {
namespace {

std::string ComputerNameOf(const NativeSettings& s) {
  if (!s.sComputerName.empty()) return s.sComputerName;
  return AsciiUpper(s.sHostName);  // "" leaves it to the operating system
}

}  // namespace

NativePlatform::NativePlatform(const NativeSettings& settings)
    : settings_(settings),
      sAgentFolder_(ExecutableFolder()),
      sSystemFolder_(settings.sSystemFolder.empty() ? sAgentFolder_ + "/system"
                                                    : settings.sSystemFolder),
      time_(settings.dTimeScale),
      paths_(settings.drives, settings.sMountRoot),
      hosts_(settings.sHostsFile),
      clock_(time_),
      loop_(time_),
      windows_(loop_, settings_),
      shell_(paths_, sSystemFolder_),
      registry_(paths_,
                RegistryPlaces{settings.sMachineRegistryFile, settings.sMachineAutostartDir},
                RegistryPlaces{settings.sUserRegistryFile, settings.sUserAutostartDir}),
      kernel_(ComputerNameOf(settings)),
      sockets_(hosts_, settings.sHostName, settings.sBindAddress),
      network_(loop_, hosts_, settings.sBindAddress),
      files_(paths_, sAgentFolder_, sSystemFolder_),
      shares_(time_, paths_.MountRoot(), settings.dShareSearchDelay),
      trace_(settings.bLogToStdout),
      platform_{clock_,   loop_,    windows_, shell_,  registry_, kernel_,
                sockets_, network_, files_,   shares_, trace_} {}

}  // namespace launchagent::native
