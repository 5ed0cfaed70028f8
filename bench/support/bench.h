// Frames of the standard sizes, and throughput as a ratio to a plain memory pass over the same bytes in the same run.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "tamix/tamix.h"

namespace tamix::bench {

// A plane filled with a smooth picture under noise, width and height from the benchmark's arguments times the given factors.
template <class T>
class Frame {
 public:
  Frame(int32_t width, int32_t height, int32_t channel)
      : width_(width), height_(height), channel_(channel), data_(new T[elements()]) {
    uint32_t noise = 12345;
    const size_t row = static_cast<size_t>(width) * static_cast<size_t>(channel);
    for (size_t i = 0; i < elements(); ++i) {
      noise = noise * 1664525u + 1013904223u;
      data_[i] = static_cast<T>(((i % row) / 8 + i / row + (noise >> 28)) & 255u);
    }
  }
  // The size of the benchmark's arguments.
  Frame(const benchmark::State& state, int32_t channel)
      : Frame(static_cast<int32_t>(state.range(0)), static_cast<int32_t>(state.range(1)), channel) {}

  T* data() const { return data_.get(); }
  int32_t width() const { return width_; }
  int32_t height() const { return height_; }
  int32_t channel() const { return channel_; }
  size_t elements() const { return static_cast<size_t>(width_) * static_cast<size_t>(height_) * static_cast<size_t>(channel_); }
  size_t bytes() const { return elements() * sizeof(T); }

 private:
  int32_t width_;
  int32_t height_;
  int32_t channel_;
  std::unique_ptr<T[]> data_;
};

// Adds bytes per second and `x_limit`: this benchmark's time as a multiple of a plain pass (memcpy as far as it goes) that
// reads and writes as many bytes.
void reportTraffic(benchmark::State& state, size_t bytes_read, size_t bytes_written);

}  // namespace tamix::bench

// Registers a benchmark at the standard sizes and an odd one.
#define TAMIX_BENCHMARK(function) \
  BENCHMARK(function)             \
      ->Args({640, 480})          \
      ->Args({1920, 1080})        \
      ->Args({4000, 3000})        \
      ->Args({1023, 769})         \
      ->UseRealTime()             \
      ->Unit(benchmark::kMicrosecond)
