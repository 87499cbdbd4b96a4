#include "host/command/Options.h"

namespace qzmtraw::host {

void AddSourceOptions(CLI::App& command, SourceOptions& options) {
  command.option_defaults()->group("Source");
  command.add_option("IMAGE", options.image, "Raw disk image or block device; it is only read")
      ->required()
      ->type_name("")
      ->option_text(" ");
  command.add_option("--sector-size", options.sectorSize, "Bytes per sector, 1 to 1048576; default 512")
      ->check(CLI::Range(1U, kMaxSectorSize).description(""))
      ->type_name("N");
}

}  // namespace qzmtraw::host
