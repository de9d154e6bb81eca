/* ZK_BASELIB: the base library of the plant-design applications. Includes every family. */
#ifndef ZK_BASELIB_H
#define ZK_BASELIB_H

#include "zk/types.h"
#include "zk/diag.h"
#include "zk/memory.h"
#include "zk/lnklist.h"
#include "zk/str.h"
#include "zk/strlist.h"
#include "zk/file.h"
#include "zk/dbfld.h"
#include "zk/db.h"
#include "zk/dbref.h"
#include "zk/extras.h"

#endif
