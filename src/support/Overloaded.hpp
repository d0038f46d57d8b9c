#pragma once

namespace tessaline {

// An overload set built from lambdas, for std::visit. Visitors list every alternative and
// have no catch-all branch, so adding an alternative breaks every visit until it is handled.
template <class... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

}  // namespace tessaline
