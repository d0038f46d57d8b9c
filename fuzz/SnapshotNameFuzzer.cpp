// Snapshot file names come from a folder that another process (or a person) may fill with
// anything, and reasons hold names the user typed. Any name must read safely; any reason must
// give a name of at most 255 bytes that reads back; and a name that reads as a snapshot must
// write back as the same date and a prefix of the same reason.
#include "core/storage/SnapshotName.hpp"

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

using namespace tessaline;

void check(bool condition) {
    if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);

    const auto named = snapshotName::make(snapshotName::Date(), input);
    check(named.size() <= 255 && snapshotName::parse(named).has_value());

    if (const auto parsed = snapshotName::parse(input)) {
        const auto reread = snapshotName::parse(snapshotName::make(parsed->date, parsed->reason));
        check(reread && reread->date == parsed->date);
        check(parsed->reason.starts_with(reread->reason) || reread->reason == snapshotName::autosave);
    }
    return 0;
}
