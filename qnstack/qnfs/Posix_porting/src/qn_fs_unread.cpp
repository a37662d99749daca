// SPDX-License-Identifier: MIT
// Notes take nothing from the heap, as its refusal may be what is noted. Names
// are kept as numbers; two names with one number could only refuse a write. They
// are forgotten when another root is set.
#include "qn_fs_unread.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "qn_fs_beneath.h"
#include "qn_fs_directory.h"
#include "qn_fs_file_port.h"
#include "qn_fs_hash.h"
#include "qn_fs_store.h"

namespace {

constexpr std::size_t kMostNames = 64;

struct Notes {
  std::array<uint64_t, kMostNames> names;
  std::size_t count;
  bool overflow;  // more names than fit: then all count as unread
  uint64_t root;  // of which they are
};
constinit Notes notes = {};

Notes &NotesOfTheRoot() {
  const uint64_t root = qn::HashOf(qn::RootDirectory());
  if (notes.root != root) notes = {};
  notes.root = root;
  return notes;
}

uint64_t Number(const char *name) { return qn::HashOf(qn::BeneathName(name).View()); }

uint64_t *Find(Notes &known, uint64_t number) {
  uint64_t *end = known.names.data() + known.count;
  uint64_t *found = std::find(known.names.data(), end, number);
  return found == end ? nullptr : found;
}

bool IsUnread(const char *name) {
  Notes &known = NotesOfTheRoot();
  return known.overflow || Find(known, Number(name)) != nullptr;
}

// True for a file that has gone, which is forgotten: what is written in its place
// need not be read.
bool ForgetIfGone(const char *name, qn::Presence presence) {
  if (presence != qn::Presence::kAbsent) return false;
  qn::ForgetUnread(name);
  return true;
}

}  // namespace

void qn::NoteUnread(const char *name) {
  if (name == nullptr || !BeneathName(name).IsUsable()) return;
  Notes &known = NotesOfTheRoot();
  const uint64_t number = Number(name);
  if (Find(known, number) != nullptr) return;
  known.overflow = known.overflow || known.count == kMostNames;
  if (known.count < kMostNames) known.names[known.count++] = number;
}

void qn::ForgetUnread(const char *name) {
  if (name == nullptr) return;
  Notes &known = NotesOfTheRoot();
  uint64_t *found = Find(known, Number(name));
  if (found != nullptr) *found = known.names[--known.count];
}

void qn::RenameUnread(const char *destination, const char *source) {
  Notes &known = NotesOfTheRoot();
  if (Find(known, Number(source)) == nullptr) return;
  ForgetUnread(source);
  NoteUnread(destination);
}

bool qn::MayWrite(const char *name) {
  if (name == nullptr) return false;
  return !IsUnread(name) || ForgetIfGone(name, LookFor(name));
}

bool qn::MayWriteIn(int directory, const char *name) {
  return !IsUnread(name) || ForgetIfGone(name, LookForIn(directory, name));
}
