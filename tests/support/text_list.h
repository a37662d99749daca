// SPDX-License-Identifier: MIT
// A list of texts on the heap, and the functions that keep such a list in a
// record file: one field and one line tag each.
#ifndef QNSTACK_TESTS_SUPPORT_TEXT_LIST_H
#define QNSTACK_TESTS_SUPPORT_TEXT_LIST_H

#include <string>
#include <string_view>
#include <vector>

#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_list.h"

namespace qntest {

void WriteText(QNFSBuffer *record, void *text);
void *ReadText(QNFSBuffer *record);

class TextList {
 public:
  // Without memory for a text it is left out.
  explicit TextList(const std::vector<std::string> &texts = {});
  ~TextList();
  TextList(const TextList &) = delete;
  TextList &operator=(const TextList &) = delete;

  QNList *get() { return &list_; }

  std::vector<std::string> Texts() const;

 private:
  QNList list_ = {};
};

}  // namespace qntest

#endif
