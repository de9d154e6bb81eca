#pragma once

#include "component/System.h"

namespace zk::component {

// The file that this component was loaded from; empty when it cannot be told.
Path componentFile();

}  // namespace zk::component
