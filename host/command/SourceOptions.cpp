#include "host/command/Options.h"

namespace qzmtraw::host {

void AddSourceOptions(CLI::App& command, SourceOptions& options) {
  command.option_defaults()->group(kArgumentGroup);
  command.add_option("IMAGE", options.image, "Image (raw, split, E01, AFF, VMDK, VHD) or block device")
      ->required()
      ->type_name("")
      ->option_text(" ");
  command.add_option("--sector-size", options.sectorSize, "Bytes per sector; the source's own, or 512")
      ->check(CLI::Range(1U, kMaxSectorSize).description(""))
      ->type_name("N");
  command.add_flag("--raw", options.isRaw, "Scan the image file's own bytes, whatever its format");
  auto* const offset =
      command.add_option("--offset", options.offset, "Begin here: 4096, 1GiB, or 8s for sectors")->option_text("SIZE");
  auto* const length =
      command.add_option("--length", options.length, "Scan so much, as --offset is written")->option_text("SIZE");
  command.add_option("--partition", options.partition, "Scan only this partition, numbered as by fdisk")
      ->excludes(offset)
      ->excludes(length)
      ->option_text("N");
  command.add_flag("--unallocated", options.isUnallocatedOnly, "Scan only what no file system has in use");
  command.add_option("--map", options.map, "Skip what ddrescue's map FILE doesn't call rescued")->type_name("FILE");
  command.add_option("--write-map", options.mapToWrite, "Write such a map of this scan; a new FILE")->type_name("FILE");
}

}  // namespace qzmtraw::host
