#pragma once

#include <type_traits>

namespace tessaline {

// Stands for the result of `make()`, which it becomes only where the result is needed:
// `optional.emplace(MadeBy{make})` makes the result in the optional's own storage, where
// `optional.emplace(make())` would make it elsewhere and move it in.
template <typename Make>
struct MadeBy {
    const Make& make;

    operator std::invoke_result_t<const Make&>() const { return make(); }
};

template <typename Make>
MadeBy(const Make&) -> MadeBy<Make>;

}  // namespace tessaline
