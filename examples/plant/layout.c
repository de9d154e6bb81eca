/* A host's view of field lists and geometry: items of the table become field lists with a place in
 * the plant, which a change of the coordinate system moves. */
#include "layout.h"

#include <stdio.h>

#include "zk_baselib.h"

/* A line in the user's language, before what the library prints itself. */
static void say(const char *text, const char *messageId) {
  printf("%s", zk_Msg(text, messageId, zk_Msg_setFormat(4)));
  fflush(stdout);
}

/* The current record as a field list, standing at a point and looking along an axis. Null when
 * memory is refused. */
static FldList *placedItem(int32_t table, const ZkPoint *place, const ZkVector *direction) {
  DbFldList *record = zk_Db_readRec(table, NULL);
  FldList *item = zk_FldList_fromDbFldList(record);
  zk_DbFldList_destroy(record);
  zk_FldList_appPoint(item, "PLACE", place);
  zk_FldList_appVector(item, "DIRECTION", direction);
  return item;
}

/* Moves the item from the coordinate system of the workshop to that of the plant: its origin is
 * the corner of the pipe rack, and its X axis runs north. */
static int moveToPlant(FldList *item) {
  static const ZkPoint origin = {0, 0, 0}, onX = {1, 0, 0}, inXY = {0, 1, 0};
  static const ZkPoint rack = {12000, 4500, 300}, north = {12000, 5500, 300},
                       west = {11000, 4500, 300};
  ZkTMatrix *move = zk_TMatrix_create();
  ZkRotMatrix *rotation = zk_RotMatrix_create();
  ZkVector translation;
  const int moved = zk_TMatrix_createFromUCS(move, &origin, &onX, &inXY, &rack, &north, &west) &&
                    zk_TMatrix_getRMatrix(rotation, move) &&
                    zk_TMatrix_getOrigin(&translation, move) &&
                    zk_FldList_applyTransform(item, &translation, rotation, "PO");
  zk_RotMatrix_destroy(rotation);
  zk_TMatrix_destroy(move);
  return moved;
}

int showLayout(int32_t table) {
  static const ZkPoint place = {1500, 250, 0};
  static const ZkVector direction = {1, 0, 0};
  FldList *item = placedItem(table, &place, &direction);
  FldList *moved = zk_FldList_copy(item);
  FldList *difference;
  int ok = moveToPlant(moved);
  say("The item as a field list, moved to the plant:", "PLANT_3");
  zk_FldList_printList(moved);
  /* Texts that differ count, and fields that the other list lacks; points never do. */
  zk_FldList_appChar(item, "STATUS", "drawn");
  zk_FldList_appChar(moved, "STATUS", "placed");
  zk_FldList_appChar(moved, "AREA", "Rack 1");
  difference = zk_FldList_diff(moved, item, 1);
  say("What the moved one says differently:", "PLANT_4");
  zk_FldList_printList(difference);
  ok = ok && difference != NULL && zk_FldList_count(difference) == 2;
  zk_FldList_destroy(difference);
  zk_FldList_destroy(moved);
  zk_FldList_destroy(item);
  return ok;
}
