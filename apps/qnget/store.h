// SPDX-License-Identifier: MIT
// The folders in which qnget keeps its settings and cached answers: where they
// are, how they come to be, and that one qnget at a time works in each.
#ifndef QNGET_STORE_H
#define QNGET_STORE_H

#include <string>

namespace qnget {

struct Folders {
  std::string settings;
  std::string cache;
  std::string old_settings;  // where settings stood before they had a folder of their own
};

/**
 * Both are `root` if that is not empty, or else the user's own folders, as the
 * environment names them. A folder is empty where there is none.
 */
Folders FoldersBelow(const std::string &root);

/** What a store is opened for. */
enum class Purpose {
  kRead,    // a missing root is left missing, and nothing is made
  kChange,  // what is there: a missing root is left missing
  kWrite    // a missing root is created with its parents, for its owner alone
};

/** The root while it is worked in: the library's file names are taken below it. */
class Store {
 public:
  /**
   * Opens the root and waits until no other qnget works in it, as long as the
   * deadline lets it. If the root is left missing, the store is not open. Throws
   * Failure for a root that cannot be used.
   */
  Store(const std::string &root, Purpose purpose);
  ~Store();

  Store(const Store &) = delete;
  Store &operator=(const Store &) = delete;

  bool IsOpen() const { return folder_.Get() >= 0; }

  /** The folder itself, while it is open. */
  int Descriptor() const { return folder_.Get(); }

  /** The path of one of the library's file names, for messages. */
  std::string Path(const std::string &file) const { return root_ + file; }

  /** Takes the library's file names below this root again, after another store was open. */
  void Use() const;

 private:
  // Closed at the end of its scope.
  class Opened {
   public:
    explicit Opened(int descriptor = -1) : descriptor_(descriptor) {}
    ~Opened();
    Opened(const Opened &) = delete;
    Opened &operator=(const Opened &) = delete;

    int Get() const { return descriptor_; }
    void Set(int descriptor) { descriptor_ = descriptor; }

   private:
    int descriptor_;
  };

  void WaitForTurn() const;

  std::string root_;
  Opened folder_;
  Opened lock_;
};

}  // namespace qnget

#endif
