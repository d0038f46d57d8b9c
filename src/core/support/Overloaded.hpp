#pragma once

namespace tessaline {

// An overload set of lambdas for std::visit. Give every alternative its own branch (no
// `auto` catch-all), so that a new alternative does not compile until each visit handles it.
template <class... Branches>
struct Overloaded : Branches... {
    using Branches::operator()...;
};

template <class... Branches>
Overloaded(Branches...) -> Overloaded<Branches...>;

}  // namespace tessaline
