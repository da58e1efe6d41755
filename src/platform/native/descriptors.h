#pragma once
// The agent's share of file descriptors. Every connection a peer opens costs one, and a
// process that runs out cannot even start a thread (Qt's painting starts some), so it
// dies. The agent therefore takes all the descriptors it may have and keeps a reserve
// that peers never reach.
namespace launchagent::native {

// Raises the soft descriptor limit to the hard one; the new soft limit (-1 when unknown).
long RaiseDescriptorLimit();

// Whether a connection that holds descriptor nFd eats into the reserve: accepted
// connections stop short of it, our own connections may use half of it.
bool InAcceptReserve(long long nFd);
bool InConnectReserve(long long nFd);

}  // namespace launchagent::native
