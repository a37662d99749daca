// SPDX-License-Identifier: MIT
#include "soak_figures.h"

#include <algorithm>
#include <numeric>

#include "support/process_figures.h"

namespace soak {

// All room is taken at the start, so that the samples themselves take none.
Figures::Figures(std::size_t exchanges) : window_(std::max<std::size_t>(1, exchanges / 10)) {
  for (std::vector<int> *samples : {&kilobytes_, &descriptors_}) {
    samples->assign(exchanges, 0);
    samples->clear();
  }
}

void Figures::Sample() {
  kilobytes_.push_back(static_cast<int>(qntest::ResidentKilobytes()));
  descriptors_.push_back(qntest::OpenDescriptors());
}

Window Figures::WindowAt(std::size_t begin) const {
  const auto first = static_cast<std::ptrdiff_t>(begin);
  const auto last = static_cast<std::ptrdiff_t>(begin + window_);
  const double sum = std::accumulate(kilobytes_.begin() + first, kilobytes_.begin() + last, 0.0);
  const auto [fewest, most] =
      std::minmax_element(descriptors_.begin() + first, descriptors_.begin() + last);
  return {sum / static_cast<double>(window_), *fewest, *most};
}

}  // namespace soak
