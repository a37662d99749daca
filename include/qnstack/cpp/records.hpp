// SPDX-License-Identifier: MIT
/**
 * @file records.hpp
 * @brief Records: a list of a program's own values in one file. Included by
 *        qnstack.hpp.
 */
#ifndef QNSTACK_CPP_RECORDS_HPP
#define QNSTACK_CPP_RECORDS_HPP

#include <cstring>
#include <new>
#include <optional>
#include <type_traits>
#include <utility>

#include "qnstack/cpp/arguments.hpp"
#include "qnstack/cpp/list.hpp"

namespace qnstack {

/**
 * @addtogroup face
 * @{
 */

/**
 * The records of one file, in the file's order; may be moved, not copied. It has
 * the members of List, but what is pushed is a value.
 *
 * The functions of @p Format are called through C: one that throws ends the
 * program.
 *
 * @tparam Record the type of a record; it can be moved.
 * @tparam Format says how a record is kept in fields, by two static functions:
 *         `void Write(QNFSBuffer *fields, const Record &record)` writes one, and
 *         `std::optional<Record> Read(QNFSBuffer *fields)` reads the very fields
 *         that were written; none is passed over. See #QNFSRecordWrite and
 *         #QNFSRecordRead.
 */
template <typename Record, typename Format>
class Records : private List<Record> {
  using Base = List<Record>;

 public:
  using typename Base::const_iterator;
  using typename Base::const_pointer;
  using typename Base::const_reference;
  using typename Base::difference_type;
  using typename Base::iterator;
  using typename Base::pointer;
  using typename Base::reference;
  using typename Base::size_type;
  using typename Base::value_type;

  using Base::back;
  using Base::begin;
  using Base::cbegin;
  using Base::cend;
  using Base::clear;
  using Base::empty;
  using Base::end;
  using Base::erase;
  using Base::front;
  using Base::get;
  using Base::pop_back;
  using Base::pop_front;
  using Base::size;

  /**
   * Loads a file; see Load().
   *
   * @param file the file's name, which is kept for Load() and Save(). NULL and a
   *        text that is refused name no file.
   */
  explicit Records(const Terminated &file) noexcept
      : Base(&Delete), file_(fnQNStack_StrDup(file.get())) {
    Load();
  }

  /**
   * Loads the file anew by fnQNFS_Load_File_To_List(); what has not been saved
   * is gone. A file that cannot be read is one without records.
   */
  void Load() noexcept {
    clear();
    fnQNFS_Load_File_To_List(file_.get(), get(), &Read);
  }
  /**
   * Writes the file by fnQNFS_Save_List_To_File(), under the limits said there.
   *
   * @return whether it has been written.
   */
  [[nodiscard]] bool Save() noexcept {
    return fnQNFS_Save_List_To_File(file_.get(), get(), &Write) == 1;
  }
  /** @return the file's name; NULL if there is none, also where the heap refused it. */
  [[nodiscard]] const char *file() const noexcept { return file_.get(); }

  /**
   * Appends a record.
   *
   * @param record the record.
   * @return whether it stands in the list; false when the heap refuses.
   */
  bool push_back(Record record) { return Base::push_back(New(std::move(record))); }
  /**
   * Puts a record in front.
   *
   * @param record the record.
   * @return whether it stands in the list; false when the heap refuses.
   */
  bool push_front(Record record) { return Base::push_front(New(std::move(record))); }

 private:
  static Record *New(Record &&record) { return new (std::nothrow) Record(std::move(record)); }

  static void Delete(void *address) noexcept {
    Record *record = nullptr;
    std::memcpy(&record, address, sizeof record);
    delete record;
  }

  static void Write(QNFSBuffer *fields, void *record) noexcept {
    Format::Write(fields, *static_cast<const Record *>(record));
  }

  static void *Read(QNFSBuffer *fields) noexcept {
    std::optional<Record> record = Format::Read(fields);
    return record.has_value() ? New(std::move(*record)) : nullptr;
  }

  Text file_;
};

/** @} */

}  // namespace qnstack

#endif
