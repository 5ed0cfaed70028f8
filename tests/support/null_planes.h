// What kernels say to null planes.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "tamix/tamix.h"
#include "tests/support/log_capture.h"

namespace tamix::test {

// The kernel refuses these arguments with each of their pointers null in turn. A literal nullptr may stay null.
template <class Kernel, class... Arguments>
void expectNullsRefused(const std::string& file, const std::string& function, Kernel kernel, Arguments... arguments) {
  std::tuple<Arguments...> all(arguments...);
  const auto refuse = [&](auto& argument) {
    if constexpr (std::is_pointer_v<std::remove_reference_t<decltype(argument)>>) {
      const auto given = std::exchange(argument, nullptr);
      const LogCapture log;
      EXPECT_EQ(std::apply(kernel, all), TAMIX_ERR_INVALID_IMAGE);
      EXPECT_EQ(log.errors(), std::vector<std::string>{errorLine(file, function, "Recieved null data pointer")});
      argument = given;
    }
  };
  std::apply([&](auto&... each) { (refuse(each), ...); }, all);
}

}  // namespace tamix::test
