// Between the public handles and the engine's objects, and the one context of the access layer.
#pragma once

#include "engine/Context.h"
#include "engine/Table.h"
#include "zk/dbref.h"

namespace zk {

// The context that every table of the access layer is opened in; null before zk_Db_init.
engine::Context *accessContext() noexcept;

// Makes the context and the registries when they do not exist yet; null when memory is refused.
engine::Context *prepareAccess() noexcept;

// The settings of the access layer (zk_Cb_init).
void applyAccessSettings(engine::Context &context) noexcept;

// An open table by id, null for an unknown one; clears the last error, as every operation on a
// table does first. Null also for a table that a call further out is in the midst of: it waits for a
// lock, and messages that came meanwhile led here.
engine::Table *tableById(int32_t tableId) noexcept;
// The status of an operation that got no table from tableById: 1, or 50.
int noTableStatus() noexcept;

// Tag numbers from here on name a table's tags by their place (zk_Tag_find), not by TAGnnn.
constexpr int32_t kFirstPlacedTag = 0x40000000;

// The n-th tag of a table, from 0, in the engine's order; null when there are not so many.
engine::Tag *tagAt(const engine::Table &table, int32_t place) noexcept;

// Selects the order of a table by tag number, as zk_DbTagRef_sel does: every step of a walk does so.
engine::Tag *selectTagOrder(engine::Table &table, int32_t tagNumber) noexcept;
inline engine::Tag *selectOrder(engine::Table &table, int32_t tagNumber) noexcept {
  if (tagNumber >= 0) return selectTagOrder(table, tagNumber);
  table.selectTag(nullptr);
  return nullptr;
}

// Forgets every id of a table that is about to be closed.
void forgetTable(const engine::Table *table) noexcept;
// Empties both registries.
void forgetAllTables() noexcept;
// Makes them when they do not exist yet; false when memory is refused.
bool prepareRegistries() noexcept;

inline ZkTable *handleOf(engine::Table *table) { return reinterpret_cast<ZkTable *>(table); }
inline ZkIndex *handleOf(engine::IndexFile *index) { return reinterpret_cast<ZkIndex *>(index); }
inline ZkTag *handleOf(engine::Tag *tag) { return reinterpret_cast<ZkTag *>(tag); }
inline ZkContext *handleOf(engine::Context *context) {
  return reinterpret_cast<ZkContext *>(context);
}
inline ZkField *handleOf(const engine::Field *field) {
  return reinterpret_cast<ZkField *>(const_cast<engine::Field *>(field));
}

}  // namespace zk
