/* Records that the geometry families share: points, vectors, and the tolerance of their tests. */
#ifndef ZK_GEOMETRY_H
#define ZK_GEOMETRY_H

#include "zk/types.h"

/* Coordinates have no unit (the caller's drawing units); angles are in radians everywhere.
   Tests without a tolerance of their own use this one: an absolute difference must be less than it
   (not equal) to count as none, a length must be greater than it (not equal) to count as one. */
#define ZK_GEOMETRY_TOLERANCE 1e-5

/* A point, and with the same layout a vector: 24 bytes, x at 0, y at 8, z at 16. Owned by callers.
 */
typedef struct ZkPoint {
  double x;
  double y;
  double z;
} ZkPoint;
typedef ZkPoint ZkVector;

#endif
