/* The functions of zk/bridge.h. BRIDGE.cpp knows where each transfers to. */
#include "platform/Forward.inc"

#define ZK_ENTRY(sibling, name) ZK_FORWARD(name)
#include "SRC/BridgeEntries.inc"
