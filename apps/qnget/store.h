// The folder in which qnget keeps its settings and cached answers: where it is,
// how it comes to be, and that one qnget at a time works in it.
#ifndef QNGET_STORE_H
#define QNGET_STORE_H

#include <string>

namespace qnget {

/**
 * `given`, or else the user's own folder, as the environment names it; empty if
 * it names none.
 */
std::string RootFolder(const std::string &given);

enum class IfMissing { kLeave, kCreate };

/** The root while it is worked in: the library's file names are taken below it. */
class Store {
 public:
  /**
   * Opens the root and waits until no other qnget works in it. A missing one is
   * created with its parents, for its owner alone, or left and the store is not
   * open. Throws Failure for a root that cannot be used.
   */
  Store(const std::string &root, IfMissing missing);
  ~Store();

  Store(const Store &) = delete;
  Store &operator=(const Store &) = delete;

  bool IsOpen() const { return descriptor_ >= 0; }

 private:
  void WaitForTurn(const std::string &root) const;

  int descriptor_ = -1;
};

}  // namespace qnget

#endif
