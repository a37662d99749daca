// SPDX-License-Identifier: MIT
// The process's figures over the course of the soak, and whether they stayed
// the same: the first tenth behind a warm-up against the last tenth.
#ifndef QNSTACK_TESTS_SOAK_SOAK_FIGURES_H
#define QNSTACK_TESTS_SOAK_SOAK_FIGURES_H

#include <cstddef>
#include <vector>

namespace soak {

// Of one window: the mean resident memory, and the least and most descriptors.
struct Window {
  double kilobytes = 0;
  int fewest_descriptors = 0;
  int most_descriptors = 0;
};

class Figures {
 public:
  explicit Figures(std::size_t exchanges);

  // Looks at the process; once behind each exchange.
  void Sample();

  // A tenth of all exchanges, but at least one.
  std::size_t WindowLength() const { return window_; }

  Window First() const { return WindowAt(window_); }
  Window Last() const { return WindowAt(kilobytes_.size() - window_); }

 private:
  Window WindowAt(std::size_t begin) const;

  std::size_t window_;
  std::vector<int> kilobytes_;
  std::vector<int> descriptors_;
};

}  // namespace soak

#endif
