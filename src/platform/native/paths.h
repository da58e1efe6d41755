#pragma once
// The system speaks of paths as "C:\folder\name" and "\\host\share\rest". This machine
// keeps drives as folders and network shares under a mount root holding host/share/...
// (the autofs and gvfs style). PathMapper translates between the two forms.
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace launchagent::native {

class PathMapper {
 public:
  PathMapper(std::map<char, std::string> drives, std::string sMountRoot);

  // "C:\a\b" -> "<drive C>/a/b"; "\\host\share\x" -> "<mount root>/host/share/x".
  // Existing components are matched without regard to case, as the system expects.
  // "." and ".." are resolved by name first. nullopt for an unknown drive, a network
  // path without a share, and a path whose ".." would leave its share or drive folder.
  std::optional<std::string> ToLocal(const std::string& sPath) const;
  // A local absolute path in the system's form, through the drive whose folder holds it
  // (the longest match); nullopt when no drive does.
  std::optional<std::string> ToSystem(const std::string& sLocal) const;

  const std::string& MountRoot() const { return sMountRoot_; }

 private:
  std::map<char, std::string> drives_;
  std::string sMountRoot_;
};

// Walks sBase/parts..., taking for each part an existing entry that differs only in
// case when the exact one is missing.
std::string ResolveCase(const std::string& sBase, const std::vector<std::string>& parts);

// Splits a Windows command line into arguments as the C runtime does: blanks separate,
// double quotes group, backslashes escape quotes only when they precede one.
std::vector<std::string> SplitWindowsArgs(const std::string& sCommandLine);

}  // namespace launchagent::native
