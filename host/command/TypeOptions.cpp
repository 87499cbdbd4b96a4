#include "host/command/Options.h"

namespace qzmtraw::host {

void AddTypeOptions(CLI::App& command, TypeOptions& options) {
  command.option_defaults()->group("Types");
  command.add_option("--types", options.types, "Only these types, by extension, row or class: doc,jpg,157")
      ->type_name("LIST");
  command.add_option("--category", options.categories, "Only these categories, and types: documents,graph")
      ->type_name("LIST");
  command.add_option("--exclude", options.exclude, "Not these types; categories by their whole names")
      ->type_name("LIST");
  command.add_option("--max-size", options.greatestSizes, "Greatest size of a type: png=64MiB; repeatable")
      ->option_text("TYPE=SIZE")
      ->allow_extra_args(false);
  command.add_option("--profile", options.profile, "A choice of types by name or path, as photos, documents")
      ->type_name("NAME");
}

}  // namespace qzmtraw::host
