#include "host/base/Error.h"
#include "host/base/Text.h"
#include "host/sources/Tsk.h"

namespace qzmtraw::host {
namespace {

[[noreturn]] void FailWithoutTsk(const std::string& what) {
  throw Failure(what + " with The Sleuth Kit, which this program was built without: build it with QZMTRAW_WITH_TSK=ON");
}

}  // namespace

std::unique_ptr<ISource> OpenTskImage(const std::string& path, const ImageFormat& format) {
  FailWithoutTsk(Quoted(path) + " is an image in the format " + format.name + ", which can be read only");
}

std::vector<Partition> ReadPartitions(ISource&, std::uint32_t) { FailWithoutTsk("partitions can be told only"); }

std::optional<std::string> ReadClaimedSpace(ISource&, std::uint64_t,
                                            const std::function<void(std::uint64_t, std::uint64_t)>&) {
  FailWithoutTsk("file systems can be read only");
}

}  // namespace qzmtraw::host
