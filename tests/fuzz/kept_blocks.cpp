#include "fuzz/kept_blocks.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>

#include "support/failing_heap.h"

namespace qntest {
namespace {

struct Block {
  void *address;  // null in a slot that was never used
  std::size_t size;
  bool is_there;
};

// Open addressing; what was freed keeps its slot until the table is cleared.
constexpr std::size_t kSlots = 1U << 18U;

struct Table {
  std::array<Block, kSlots> slots;
  std::array<uint32_t, kSlots> used;  // the slots in the order of their use
  std::size_t used_count;
};

constinit Table table = {};

Block &SlotOf(void *address) {
  auto slot = (reinterpret_cast<std::uintptr_t>(address) >> 4U) * 2654435761U % kSlots;
  while (table.slots[slot].address != nullptr && table.slots[slot].address != address) {
    slot = (slot + 1) % kSlots;
  }
  if (table.slots[slot].address == nullptr) {
    if (table.used_count == kSlots - 1) std::abort();  // more blocks than any input should make
    table.used[table.used_count++] = static_cast<uint32_t>(slot);
    table.slots[slot] = {address, 0, false};
  }
  return table.slots[slot];
}

void OnGiven(void *address, std::size_t size) {
  Block &block = SlotOf(address);
  block.size = size;
  block.is_there = true;
}

void OnTakenBack(void *address) { SlotOf(address).is_there = false; }

constexpr HeapWatcher kWatcher = {OnGiven, OnTakenBack};

void Clear() {
  for (std::size_t i = 0; i < table.used_count; ++i) table.slots[table.used[i]] = {};
  table.used_count = 0;
}

}  // namespace

KeptBlocks::KeptBlocks() { WatchHeap(&kWatcher); }

KeptBlocks::~KeptBlocks() {
  WatchHeap(nullptr);
  Clear();
}

std::vector<std::size_t> KeptBlocks::Release() {
  std::vector<std::size_t> sizes;
  for (std::size_t i = 0; i < table.used_count; ++i) {
    Block &block = table.slots[table.used[i]];
    if (!block.is_there) continue;
    sizes.push_back(block.size);
    std::free(block.address);
  }
  Clear();
  std::sort(sizes.begin(), sizes.end());
  return sizes;
}

}  // namespace qntest
