#include "host/command/Options.h"

namespace qzmtraw::host {

void AddTypeOptions(CLI::App& command, TypeOptions& options) {
  command.option_defaults()->group("Types");
  command.add_option("--types", options.types, "Only these types: extensions or rows, as in doc,jpg,157")
      ->type_name("LIST");
}

}  // namespace qzmtraw::host
