// The registries of table ids and tag ids.
#include "zk/dbref.h"

#include <cstdio>

#include "SRC/Engine.h"
#include "SRC/LnkList.h"
#include "base/Memory.h"

namespace zk {
namespace {

constexpr int32_t kFirstTableId = 0;
constexpr int32_t kTableIdStep = 1;
constexpr int32_t kTagIdStep = 100;  // also the first tag id

LnkList *tableRegistry = nullptr;
LnkList *tagRegistry = nullptr;

// The id that was used last and its table: a program works on one table for a while.
int32_t recentId = -1;
engine::Table *recentTable = nullptr;

bool ensure(LnkList *&registry) {
  if (registry == nullptr) registry = newList();
  return registry != nullptr;
}

template <typename Entry>
Entry *entryOf(LnkNode *node) {
  return node != nullptr ? static_cast<Entry *>(node->data) : nullptr;
}

// A copy of `entry` in a block of its own; null when refused.
template <typename Entry>
Entry *newEntry(const Entry &entry) {
  auto *block = static_cast<Entry *>(base::allocate(sizeof(Entry)));
  if (block != nullptr) *block = entry;
  return block;
}

// The entry joins the registry; false (and it is released) when that is refused.
bool enter(LnkList *&registry, void *entry) {
  if (entry != nullptr && ensure(registry) && appendNode(*registry, entry) != nullptr) return true;
  base::release(entry);
  return false;
}

template <typename Entry, typename Matches>
LnkNode *findNode(LnkList *registry, Matches matches) {
  if (registry == nullptr) return nullptr;
  for (LnkNode *node = registry->first; node != nullptr; node = node->next) {
    if (matches(*static_cast<Entry *>(node->data))) return node;
  }
  return nullptr;
}

void removeNode(LnkList *registry, LnkNode *node) {
  unlinkNode(*registry, *node);
  base::release(node->data);
  base::release(node);
}

template <typename Entry, typename Matches>
bool removeFirst(LnkList *registry, Matches matches) {
  LnkNode *node = findNode<Entry>(registry, matches);
  if (node != nullptr) removeNode(registry, node);
  return node != nullptr;
}

// Whether there was one.
template <typename Entry, typename Matches>
bool removeAll(LnkList *registry, Matches matches) {
  bool removed = false;
  while (removeFirst<Entry>(registry, matches)) removed = true;
  return removed;
}

template <typename Entry, typename Id>
int32_t nextId(LnkList *registry, int32_t first, int32_t step, Id idOf) {
  int32_t next = first;
  if (registry == nullptr) return next;
  for (LnkNode *node = registry->first; node != nullptr; node = node->next) {
    const int32_t id = idOf(*static_cast<Entry *>(node->data));
    if (id >= next && id <= INT32_MAX - step) next = id + step;
  }
  return next;
}

int32_t hundredOf(int32_t tagId) { return tagId / kTagIdStep * kTagIdStep; }

auto withTagId(int32_t tagId) {
  return [wanted = hundredOf(tagId)](const DbTagRefNode &entry) { return entry.tagId == wanted; };
}

auto withTableId(int32_t tableId) {
  return [tableId](const auto &entry) { return entry.tableId == tableId; };
}

void forgetRecent() {
  recentId = -1;
  recentTable = nullptr;
}

void emptyRegistry(LnkList *&registry) {
  if (registry != nullptr) clearList(*registry, [](void *entry) { base::release(entry); });
}

}  // namespace

engine::Tag *tagAt(const engine::Table &table, int32_t place) noexcept {
  for (const auto &index : table.indexes()) {
    const auto count = static_cast<int32_t>(index->tags().size());
    if (place < count) return index->tags()[static_cast<std::size_t>(place)].get();
    place -= count;
  }
  return nullptr;
}

namespace {

// "TAG" and the number with at least `digits` digits, looked up in the table.
engine::Tag *tagNumbered(const engine::Table &table, int32_t number, int digits) {
  char name[16];
  std::snprintf(name, sizeof name, "TAG%0*d", digits, static_cast<int>(number));
  return table.findTag(name);
}

engine::Tag *lookUpTag(const engine::Table &table, int32_t number) {
  if (number >= kFirstPlacedTag) return tagAt(table, number - kFirstPlacedTag);
  // Not the hundreds choose among several index files, but who comes first: meant.
  engine::Tag *tag = tagNumbered(table, number % 100, 3);
  if (tag == nullptr) tag = tagNumbered(table, number, 3);
  if (tag == nullptr) tag = tagNumbered(table, number % 100, 4);
  return tag;
}

// The order that was chosen last: a walk asks for the same one at every step.
struct RecentOrder {
  const engine::Table *table;
  std::uint32_t generation;
  int32_t number;
  engine::Tag *tag;
};
RecentOrder recentOrder = {};

bool tableWaits = false;  // why tableById gave none

}  // namespace

engine::Tag *selectTagOrder(engine::Table &table, int32_t number) noexcept {
  engine::Tag *tag = nullptr;
  if (!table.indexes().empty()) {
    if (recentOrder.table != &table || recentOrder.generation != table.indexGeneration() ||
        recentOrder.number != number) {
      recentOrder = {&table, table.indexGeneration(), number, lookUpTag(table, number)};
    }
    tag = recentOrder.tag;
  }
  table.selectTag(tag);
  return tag;
}

engine::Table *tableById(int32_t tableId) noexcept {
  if (engine::Context *context = accessContext()) context->clearError();
  tableWaits = false;
  if (tableId != recentId) {
    const DbRefNode *entry = zk_DbRefNode_find(tableId);
    engine::Table *table = entry != nullptr ? engine::liveTable(entry->table) : nullptr;
    if (table == nullptr) return nullptr;
    recentId = tableId;
    recentTable = table;
  }
  if (recentTable == nullptr) return nullptr;  // the id of nothing
  tableWaits = engine::isWaiting(*recentTable);
  if (tableWaits) return nullptr;
  engine::workOn(*recentTable);
  return recentTable;
}

int noTableStatus() noexcept { return tableWaits ? engine::kLocked : 1; }

void forgetTable(const engine::Table *table) noexcept {
  forgetRecent();
  if (recentOrder.table == table) recentOrder = {};
  removeAll<DbRefNode>(tableRegistry, [table](const DbRefNode &entry) {
    return static_cast<const void *>(entry.table) == table;
  });
}

void forgetAllTables() noexcept {
  forgetRecent();
  recentOrder = {};
  emptyRegistry(tableRegistry);
  emptyRegistry(tagRegistry);
}

bool prepareRegistries() noexcept { return ensure(tableRegistry) && ensure(tagRegistry); }

}  // namespace zk

using namespace zk;

DbRefNode *zk_DbRefNode_create(ZkTable *table, int32_t tableId) {
  return newEntry(DbRefNode{table, tableId});
}

DbRefNode *zk_DbRefNode_find(int32_t tableId) {
  return entryOf<DbRefNode>(findNode<DbRefNode>(tableRegistry, withTableId(tableId)));
}

int zk_DbRefNode_free(DbRefNode *entry) {
  base::release(entry);
  return entry != nullptr;
}

int32_t zk_DbRef_add(ZkTable *table) {
  if (engine::liveTable(table) == nullptr) return -1;
  const int32_t tableId = nextId<DbRefNode>(tableRegistry, kFirstTableId, kTableIdStep,
                                            [](const DbRefNode &entry) { return entry.tableId; });
  return enter(tableRegistry, zk_DbRefNode_create(table, tableId)) ? tableId : -1;
}

ZkTable *zk_DbRef_sel(int32_t tableId) { return handleOf(tableById(tableId)); }

int zk_DbRef_del(int32_t tableId) {
  forgetRecent();
  return removeFirst<DbRefNode>(tableRegistry, withTableId(tableId));
}

int zk_DbRef_delTags(int32_t tableId) {
  return removeAll<DbTagRefNode>(tagRegistry, withTableId(tableId));
}

DbTagRefNode *zk_DbTagRefNode_create(ZkIndex *index, int32_t tagId, int32_t tableId) {
  return newEntry(DbTagRefNode{index, tableId, tagId});
}

int zk_DbTagRefNode_free(DbTagRefNode *entry) {
  base::release(entry);
  return entry != nullptr;
}

int32_t zk_DbTagRef_add(int32_t tableId, ZkIndex *index) {
  const int32_t tagId = nextId<DbTagRefNode>(tagRegistry, kTagIdStep, kTagIdStep,
                                             [](const DbTagRefNode &entry) { return entry.tagId; });
  return enter(tagRegistry, zk_DbTagRefNode_create(index, tagId, tableId)) ? tagId : -1;
}

int zk_DbTagRef_update(int32_t tagId, ZkIndex *index) {
  auto *entry = entryOf<DbTagRefNode>(findNode<DbTagRefNode>(tagRegistry, withTagId(tagId)));
  if (entry == nullptr) return 0;
  entry->index = index;
  return 1;
}

ZkIndex *zk_DbTagRef_selNdx(int32_t tagId) {
  const auto *entry = entryOf<DbTagRefNode>(findNode<DbTagRefNode>(tagRegistry, withTagId(tagId)));
  return entry != nullptr ? entry->index : nullptr;
}

int zk_DbTagRef_del(int32_t tagId) {
  return removeFirst<DbTagRefNode>(tagRegistry, withTagId(tagId));
}

ZkTag *zk_DbTagRef_sel(ZkTable *table, int32_t tagNumber) {
  engine::Table *live = engine::liveTable(table);
  return live != nullptr ? handleOf(selectOrder(*live, tagNumber)) : nullptr;
}
