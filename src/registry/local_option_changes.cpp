// Local option changes: filled by the setup capability.
#include "registry/local_option_changes.h"

namespace launchagent {
void LocalOptionChanges::SetLocalProvideHostServices(bool) {}
void LocalOptionChanges::SetLocalProvideIntranet(bool) {}
void LocalOptionChanges::SetLocalProvideWeb(bool) {}
void LocalOptionChanges::SetLocalProvideNews(bool) {}
void LocalOptionChanges::SetLocalProvideJobs(bool) {}
void LocalOptionChanges::SetLocalProvideStocks(bool) {}
void LocalOptionChanges::SetLocalInternetReady(bool) {}
void LocalOptionChanges::SetAgentAddress(const std::string&, const std::string&, const std::string&) {}
}  // namespace launchagent
