// Functions that transfer to another function, chosen at every call, with their caller's own
// arguments and result.
//
// They are made in assembly (see Forward.inc), because nothing may be known of the arguments: each
// saves the argument registers, asks zk_forwardTarget for its number, restores them and jumps.
#pragma once

#include <cstdint>

#include "platform/Module.h"

// The function to transfer to for the n-th forwarding function, from 0; null: return 0 instead. The
// one who makes forwarding functions defines it.
extern "C" zk::platform::ModuleFunction zk_forwardTarget(std::uint32_t number) noexcept;
