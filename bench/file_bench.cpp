// SPDX-License-Identifier: MIT
// Record files and settings beside GLib's key file, which is what a C program
// would keep them in. Files stand in memory where the system has a place for
// that, so that a disk's speed plays no part.
#include <glib.h>

#include <memory>
#include <string>

#include "operation.h"
#include "operation_bench.h"
#include "qnstack/qn_fs_file.h"
#include "qnstack/qn_fs_file_record.h"
#include "qnstack/qn_fs_ini.h"
#include "qnstack/qn_share_mem.h"
#include "support/scratch_folder.h"

namespace {

using qnbench::Keep;
using qnbench::Opaque;
using qnbench::Operation;

constexpr int kRecords = 50;
constexpr int kSettings = 20;
constexpr char kFile[] = "/data";

struct Message {
  std::string subject;
  int32_t size;
  QNTime date;
};

std::string Subject(int i) { return "Holiday picture number " + std::to_string(i); }

void WriteMessage(QNFSBuffer *record, void *data) {
  const auto *message = static_cast<const Message *>(data);
  fnQNFS_Buffer_WriteString(record, message->subject.c_str(),
                            static_cast<int32_t>(message->subject.size()));
  fnQNFS_Buffer_WriteInteger(record, message->size);
  fnQNFS_Buffer_WriteDateTime(record, message->date);
  fnQNFS_Buffer_WriteLineTag(record);
}

void *ReadMessage(QNFSBuffer *record) {
  char *subject = fnQNFS_Buffer_ReadString(record);
  const int32_t size = fnQNFS_Buffer_ReadInteger(record, nullptr);
  const QNTime date = fnQNFS_Buffer_ReadDateTime(record, nullptr);
  auto *message = new Message{subject, size, date};
  fnQN_Free(&subject);
  return message;
}

void FreeMessage(void *address) { delete *static_cast<Message **>(address); }

// Both sides' files, and what they are made of.
class Store {
 public:
  Store() : their_path(folder_.path("/their-data")) {
    fnQNFS_SetFullPath(folder_.path().c_str());
    for (int i = 0; i < kRecords; ++i) {
      fnQNList_AddTail(&messages, new Message{Subject(i), 30720 + i, {2009, 12, 5, 8, 30, 1, 0}});
    }
    for (int i = 0; i < kSettings; ++i) {
      fnQNFS_INI_WriteRAM(&settings, Key(i).c_str(), "a value of some length");
    }
  }
  ~Store() {
    fnQNList_Clear(&messages, FreeMessage);
    fnQNList_Clear(&settings, fnQNFS_INI_FreeNode);
  }
  Store(const Store &) = delete;
  Store &operator=(const Store &) = delete;

  static std::string Key(int i) { return "setting-" + std::to_string(i); }

 private:
  qntest::ScratchFolder folder_;

 public:
  QNList messages = {};
  QNList settings = {};
  std::string their_path;
};

using SharedStore = std::shared_ptr<Store>;
using KeyFile = std::shared_ptr<GKeyFile>;

KeyFile NewKeyFile() { return {g_key_file_new(), g_key_file_unref}; }

void SetRecords(GKeyFile *file) {
  for (int i = 0; i < kRecords; ++i) {
    const std::string group = std::to_string(i);
    g_key_file_set_string(file, group.c_str(), "subject", Subject(i).c_str());
    g_key_file_set_integer(file, group.c_str(), "size", 30720 + i);
    g_key_file_set_string(file, group.c_str(), "date", "2009:12:5:8:30:1:0");
  }
}

void SetSettings(GKeyFile *file) {
  for (int i = 0; i < kSettings; ++i) {
    g_key_file_set_string(file, "settings", Store::Key(i).c_str(), "a value of some length");
  }
}

void ReadAllRecords(GKeyFile *file) {
  gsize count = 0;
  gchar **groups = g_key_file_get_groups(file, &count);
  for (gsize i = 0; i < count; ++i) {
    g_free(g_key_file_get_string(file, groups[i], "subject", nullptr));
    Keep(g_key_file_get_integer(file, groups[i], "size", nullptr));
    g_free(g_key_file_get_string(file, groups[i], "date", nullptr));
  }
  g_strfreev(groups);
}

void Load(GKeyFile *file, const std::string &path) {
  Keep(g_key_file_load_from_file(file, path.c_str(), G_KEY_FILE_NONE, nullptr));
}

void Save(GKeyFile *file, const std::string &path) {
  Keep(g_key_file_save_to_file(file, path.c_str(), nullptr));
}

// A peer's step on a store and a key file that `fill` has filled.
template <typename Fill, typename Step>
auto OnKeyFile(Fill fill, Step step) {
  return [=] {
    auto store = std::make_shared<Store>();
    KeyFile file = NewKeyFile();
    fill(file.get());
    Save(file.get(), store->their_path);
    return [=] { step(file.get(), store->their_path); };
  };
}

// Our step on a store whose file `save` has written.
template <typename FirstSave, typename Step>
auto OnStore(FirstSave save, Step step) {
  return [=] {
    auto store = std::make_shared<Store>();
    save(store.get());
    return [=] { step(store.get()); };
  };
}

void SaveRecords(Store *store) {
  Keep(fnQNFS_Save_List_To_File(kFile, &store->messages, WriteMessage));
}

void SaveSettings(Store *store) { Keep(fnQNFS_Write_INI_To_File(kFile, &store->settings)); }

void Records() {
  Operation("files", "50 records saved")
      .Prepared(qnbench::kOurs, OnStore(SaveRecords, SaveRecords))
      .Prepared("GKeyFile", OnKeyFile(SetRecords, Save));
  Operation("files", "50 records loaded and read")
      .Prepared(qnbench::kOurs, OnStore(SaveRecords,
                                        [](Store *) {
                                          QNList loaded = {};
                                          fnQNFS_Load_File_To_List(kFile, &loaded, ReadMessage);
                                          Keep(loaded);
                                          fnQNList_Clear(&loaded, FreeMessage);
                                        }))
      .Prepared("GKeyFile", OnKeyFile(SetRecords, [](GKeyFile *, const std::string &path) {
                  const KeyFile loaded = NewKeyFile();
                  Load(loaded.get(), path);
                  ReadAllRecords(loaded.get());
                }));
}

void RecordsInMemory() {
  Operation("files", "50 records written to memory and read")
      .Prepared(qnbench::kOurs, OnStore(SaveRecords,
                                        [](Store *store) {
                                          QNFSBuffer record = {};
                                          record.data = static_cast<char *>(
                                              fnQN_Malloc_Local(10001, __FILE__, __LINE__));
                                          fnQNFS_Init_Buffer(&record, 10000);
                                          for (auto *i = store->messages.head; i; i = i->next) {
                                            WriteMessage(&record, i->data);
                                          }
                                          record.last = record.pos;
                                          record.pos = -1;
                                          while (fnQNFS_Buffer_IsEnd(&record) == 0) {
                                            void *message = ReadMessage(&record);
                                            FreeMessage(&message);
                                          }
                                          fnQN_Free(&record.data);
                                        }))
      .Prepared("GKeyFile", OnKeyFile(SetRecords, [](GKeyFile *, const std::string &) {
                  const KeyFile written = NewKeyFile();
                  SetRecords(written.get());
                  gsize length = 0;
                  gchar *data = g_key_file_to_data(written.get(), &length, nullptr);
                  const KeyFile loaded = NewKeyFile();
                  g_key_file_load_from_data(loaded.get(), data, length, G_KEY_FILE_NONE, nullptr);
                  ReadAllRecords(loaded.get());
                  g_free(data);
                }));
}

void SettingsFiles() {
  Operation("files", "20 settings saved")
      .Prepared(qnbench::kOurs, OnStore(SaveSettings, SaveSettings))
      .Prepared("GKeyFile", OnKeyFile(SetSettings, Save));
  Operation("files", "20 settings loaded")
      .Prepared(qnbench::kOurs, OnStore(SaveSettings,
                                        [](Store *) {
                                          QNList loaded = {};
                                          fnQNFS_Load_INI_To_List(kFile, &loaded);
                                          Keep(loaded);
                                          fnQNList_Clear(&loaded, fnQNFS_INI_FreeNode);
                                        }))
      .Prepared("GKeyFile", OnKeyFile(SetSettings, [](GKeyFile *, const std::string &path) {
                  const KeyFile loaded = NewKeyFile();
                  Load(loaded.get(), path);
                }));
}

void SettingsInMemory() {
  Operation("files", "one of 20 settings read from memory")
      .Prepared(qnbench::kOurs, OnStore(SaveSettings,
                                        [](Store *store) {
                                          char value[64];
                                          Keep(fnQNFS_INI_Read(kFile, &store->settings,
                                                               Opaque("setting-15"), value));
                                          Keep(value);
                                        }))
      .Prepared("GKeyFile", OnKeyFile(SetSettings, [](GKeyFile *file, const std::string &) {
                  gchar *value =
                      g_key_file_get_string(file, "settings", Opaque("setting-15"), nullptr);
                  Keep(value);
                  g_free(value);
                }));
  Operation("files", "one of 20 settings set in memory")
      .Prepared(qnbench::kOurs,
                OnStore(SaveSettings,
                        [](Store *store) {
                          Keep(fnQNFS_INI_WriteRAM(&store->settings, Opaque("setting-15"),
                                                   Opaque("another value")));
                        }))
      .Prepared("GKeyFile", OnKeyFile(SetSettings, [](GKeyFile *file, const std::string &) {
                  g_key_file_set_string(file, "settings", Opaque("setting-15"),
                                        Opaque("another value"));
                }));
}

}  // namespace

void qnbench::RegisterFiles() {
  Records();
  RecordsInMemory();
  SettingsFiles();
  SettingsInMemory();
}
