#include "platform/native/descriptors.h"

#include <sys/resource.h>

#include <algorithm>
#include <thread>

namespace launchagent::native {
namespace {

long SoftLimit() {
  rlimit r{};
  if (::getrlimit(RLIMIT_NOFILE, &r) != 0 || r.rlim_cur == RLIM_INFINITY) return -1;
  return static_cast<long>(std::min<rlim_t>(r.rlim_cur, 1L << 30));
}

// Threads of the loop and the painter take one or two each; files and our own sends
// take a few more.
long Reserve(long lngLimit) {
  const long lngWanted = 64 + 4 * static_cast<long>(std::thread::hardware_concurrency());
  return std::min(lngWanted, lngLimit / 2);
}

bool InReserve(long long nFd, long lngShare) {
  const long lngLimit = SoftLimit();
  if (lngLimit <= 0 || nFd < 0) return false;
  return nFd >= lngLimit - Reserve(lngLimit) / lngShare;
}

}  // namespace

long RaiseDescriptorLimit() {
  rlimit r{};
  if (::getrlimit(RLIMIT_NOFILE, &r) != 0) return -1;
  if (r.rlim_cur < r.rlim_max) {
    r.rlim_cur = r.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &r);
  }
  return SoftLimit();
}

bool InAcceptReserve(long long nFd) { return InReserve(nFd, 1); }
bool InConnectReserve(long long nFd) { return InReserve(nFd, 2); }

}  // namespace launchagent::native
