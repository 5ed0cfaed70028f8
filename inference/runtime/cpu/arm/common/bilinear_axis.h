// Where the samples of a resized axis come from.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace tamix {

// The sample before a position and the position's distance from it: the value is (1 - fraction) * sample[index] + fraction *
// sample[index + 1].
struct AxisPosition {
  ptrdiff_t index;
  float fraction;
};

// One axis of `source` samples resized to `target`, pixel centres on pixel centres. Both sizes are at least 1.
class BilinearAxis {
 public:
  BilinearAxis(int32_t source, int32_t target)
      : source_(source), scale_(static_cast<float>(source) / static_cast<float>(target)) {}

  // How far a sample's neighbour is: an axis of one sample has that one as both.
  ptrdiff_t step() const { return source_ > 1 ? 1 : 0; }

  // Sample d of the target: (d + 0.5) * scale - 0.5 in double precision, rounded to single. Outside the samples' centres the
  // nearest of them.
  AxisPosition operator[](int32_t d) const {
    const auto f = static_cast<float>((static_cast<double>(d) + 0.5) * static_cast<double>(scale_) - 0.5);
    const float whole = std::floor(f);
    const auto index = static_cast<ptrdiff_t>(whole);
    if (index < 0 || source_ == 1) return {0, 0.0f};
    if (index > source_ - 2) return {source_ - 2, 1.0f};
    return {index, f - whole};
  }

 private:
  ptrdiff_t source_;
  float scale_;
};

// A fraction in sixteenths, rounded half up: 0 to 16.
inline uint8_t sixteenths(float fraction) {
  return static_cast<uint8_t>(static_cast<int32_t>(static_cast<double>(fraction * 16.0f) + 0.5));
}

// Which of the two row buffers holds which source row, while destination rows ask for rows `index` and `index + step`. compute
// fills a buffer with a row; rows in the buffers are not computed again.
template <class T>
class RowPair {
 public:
  RowPair(T* first, T* second) : upper_(first), lower_(second) {}

  template <class Compute>
  void moveTo(ptrdiff_t index, ptrdiff_t step, const Compute& compute) {
    if (index == index_) return;
    if (index_ >= 0 && index == index_ + step) {
      T* const free = upper_;
      upper_ = lower_;
      lower_ = free;
    } else {
      compute(index, upper_);
    }
    compute(index + step, lower_);
    index_ = index;
  }

  const T* upper() const { return upper_; }
  const T* lower() const { return lower_; }

 private:
  T* upper_;
  T* lower_;
  ptrdiff_t index_ = -1;
};

}  // namespace tamix
