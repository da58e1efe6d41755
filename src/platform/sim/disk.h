#pragma once
// Virtual disks of one host: drive letters holding folder trees. Entries keep their
// creation order, which is the order listings return them in. Names compare without
// regard to case, as on the desktop.
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/services.h"
#include "platform/text.h"
#include "platform/types.h"

namespace launchagent::sim {

// The simulator's names for the agent's one case folding and wildcard (platform/text.h).
inline std::string ToLower(const std::string& s) { return AsciiLower(s); }
inline bool EqualNoCase(const std::string& a, const std::string& b) {
  return EqualsIgnoringCase(a, b);
}
inline bool WildcardMatch(const std::string& sPattern, const std::string& sName) {
  return MatchesWildcard(sName, sPattern);
}

// A path in the system's form, taken apart.
struct ParsedPath {
  enum class Kind { Invalid, Local, Unc };
  Kind kind = Kind::Invalid;
  char cDrive = 0;                 // upper case, Local only
  std::string sHost;               // Unc only
  std::string sShare;              // Unc only
  std::vector<std::string> parts;  // below the drive root or below the share
};

// "C:\a\b", "\\host\share\a", or relative to sBase (a local folder path). Both slashes
// separate; "." and ".." are resolved; empty parts are dropped.
ParsedPath ParsePath(const std::string& sPath, const std::string& sBase = "");
// "C:\a\b" from a drive and parts ("C:\" for the root).
std::string JoinLocal(char cDrive, const std::vector<std::string>& parts);

class Disk {
 public:
  struct Node {
    std::string sName;
    bool bFolder = false;
    bool bHidden = false;
    Bytes content;
    std::vector<std::unique_ptr<Node>> children;
    Node* Child(const std::string& sName) const;
  };

  enum class WriteResult { Ok, NoDrive, NoFolder, IsFolder, Full };

  Disk();  // drive C with an empty root

  bool HasDrive(char cDrive) const;
  void AddDrive(char cDrive);
  // nullptr when the entry (or its drive) is missing; parts {} is the drive root.
  Node* Find(char cDrive, const std::vector<std::string>& parts);
  const Node* Find(char cDrive, const std::vector<std::string>& parts) const;
  // Creates the folders on the way (and the drive); nullptr when a file is in the way.
  Node* MakeFolders(char cDrive, const std::vector<std::string>& parts, bool bHidden = false);
  // Writes a whole file. With bMakeFolders the folders on the way are created; without
  // it the folder must exist. The drive's capacity must hold the old and the new
  // content side by side (the new one is written beside the old, then renamed), and a
  // failure leaves the old file whole. *pOld gets the old content (nullopt: new file).
  WriteResult Write(char cDrive, const std::vector<std::string>& parts, const Bytes& content,
                    bool bMakeFolders, bool bHidden = false, std::optional<Bytes>* pOld = nullptr);
  bool Remove(char cDrive, const std::vector<std::string>& parts);
  // Entries of a folder matching sPattern; nullopt when the folder does not exist.
  std::optional<std::vector<platform::DirEntry>> List(char cDrive,
                                                      const std::vector<std::string>& folder,
                                                      const std::string& sPattern, bool bHidden,
                                                      bool bFolders) const;
  void SetCapacity(char cDrive, std::optional<std::uint64_t> bytes);
  std::uint64_t Used(char cDrive) const;

 private:
  struct Drive {
    Node root;
    std::optional<std::uint64_t> capacity;
    std::uint64_t used = 0;
  };
  static std::uint64_t SizeOf(const Node& node);
  std::map<char, Drive> drives_;
};

// "written 12812 bytes, changed 12808-12809" for the transcript (new, unchanged, and
// the changed byte ranges, inclusive, at most eight of them).
std::string DescribeWrite(const std::optional<Bytes>& old, const Bytes& now);

}  // namespace launchagent::sim
