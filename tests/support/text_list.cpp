// SPDX-License-Identifier: MIT
#include "support/text_list.h"

#include <cstdint>
#include <cstring>

#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"

namespace qntest {

void WriteText(QNFSBuffer *record, void *text) {
  const auto *characters = static_cast<const char *>(text);
  fnQNFS_Buffer_WriteString(record, characters, static_cast<int32_t>(std::strlen(characters)));
  fnQNFS_Buffer_WriteLineTag(record);
}

void *ReadText(QNFSBuffer *record) { return fnQNFS_Buffer_ReadString(record); }

TextList::TextList(const std::vector<std::string> &texts) {
  for (const std::string &text : texts) {
    char *copy = fnQN_STRDUP(text.c_str());
    if (fnQNList_AddTail(&list_, copy) == nullptr) fnQN_Free(&copy);
  }
}

TextList::~TextList() { fnQNList_Clear(&list_, fnQN_Free); }

std::vector<std::string> TextList::Texts() const {
  std::vector<std::string> texts;
  for (const QNListNode *node = list_.head; node != nullptr; node = node->next) {
    texts.emplace_back(static_cast<const char *>(node->data));
  }
  return texts;
}

}  // namespace qntest
