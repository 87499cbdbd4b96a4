#ifndef QZMTRAW_HOST_TYPES_PROFILE_H
#define QZMTRAW_HOST_TYPES_PROFILE_H

#include <cstddef>
#include <string>
#include <vector>

namespace qzmtraw::host {

/// A choice of file types that has a name. Its file is in INI format without sections: lines such as "types = jpg, png"
/// with one of the keys types, category, exclude and max-size, which may come again; empty lines; and comments, which
/// begin with '#' or ';'. The values are those of the options of the same names.
struct Profile {
  struct Entry {
    std::string key;
    std::string value;
    /// Counted from 1.
    std::size_t line = 0;
  };
  /// For messages: "profile '/etc/photos.conf'".
  std::string name;
  std::vector<Entry> entries;
};

/// Where profiles are looked for.
struct ProfilePlaces {
  /// Directories with files NAME.conf, the first first.
  std::vector<std::string> directories;
};

/// Those of this user and of this installation: $XDG_CONFIG_HOME/qzmtraw/profiles, or ~/.config/…, and profiles in the
/// directory of the installed program's data.
ProfilePlaces UsualProfilePlaces();

/// Reads a profile: the file itself where `name` has a slash or ends with ".conf", otherwise the first NAME.conf in the
/// places, and at last that of the program itself. Throws UsageError where there is none, and with file and line where
/// it can't be understood; Failure where it can't be read.
Profile ReadProfile(const std::string& name, const ProfilePlaces& places);

/// \param name  As Profile::name.
Profile ParseProfile(const std::string& name, const std::string& text);

/// The names of the profiles that the program itself has.
std::vector<std::string> BuiltInProfileNames();

}  // namespace qzmtraw::host

#endif  // QZMTRAW_HOST_TYPES_PROFILE_H
