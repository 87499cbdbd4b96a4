#!/usr/bin/env bash
# Checks what is made of the command line's description of itself: completions and the manual page.
#
#   described.sh FOLDER TOOL    the folder has bash, zsh, fish and qzmtraw.1
set -euo pipefail
folder=$(realpath "$1")
tool=$(realpath "$2")
failures=0

expect() { # WHAT EXPECTED ACTUAL
  [ "$2" = "$3" ] && return
  printf '%s: expected "%s", but got "%s"\n' "$1" "$2" "$3" >&2
  failures=$((failures + 1))
}

expect_has() { # WHAT LINE TEXT
  grep -qxF -- "$2" <<<"$3" && return
  printf '%s: there is no line "%s" in:\n%s\n' "$1" "$2" "$3" >&2
  failures=$((failures + 1))
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/work" "$scratch/work/folder"
touch "$scratch/work/image file"
mkdir -p "$scratch/config/qzmtraw/profiles"
touch "$scratch/config/qzmtraw/profiles/wedding.conf" "$scratch/config/qzmtraw/profiles/\$(touch bad).conf"
export XDG_CONFIG_HOME=$scratch/config
cd "$scratch/work"

# What bash offers behind these words, of which the last one is being written.
in_bash() {
  bash -c 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _qzmtraw; printf "%s\n" "${COMPREPLY[@]}"' \
    bash "$folder/bash" qzmtraw "$@" 2>&1
}
expect 'bash, a command' scan "$(in_bash sc)"
expect 'bash, all commands' "$(printf '%s\n' scan recover merge types)" "$(in_bash '' | grep -v '^-')"
expect_has 'bash, an option' --sector-size "$(in_bash scan --s)"
expect 'bash, an option of another command' '' "$(in_bash scan --ded)"
expect 'bash, a format' jsonl "$(in_bash scan --format js)"
expect 'bash, a type' docx "$(in_bash scan --types docx)"
expect 'bash, a further type' jpg,docx "$(in_bash scan x --types jpg,docx)"
expect_has 'bash, a type to leave out' jpg "$(in_bash scan --exclude '')"
expect 'bash, a category' internet-and-mail "$(in_bash scan --category int)"
expect 'bash, a further category' fonts,graphics "$(in_bash types --category fonts,gr)"
expect 'bash, a profile' photos "$(in_bash recover x --profile ph)"
expect 'bash, a profile of the user' wedding "$(in_bash scan --profile we)"
expect 'bash, all profiles' 'documents everything mail photos wedding' "$(in_bash scan --profile '' | paste -sd ' ')"
expect 'bash, a greatest size' docx= "$(in_bash scan --max-size docx)"
expect 'bash, progress' json "$(in_bash scan --progress js)"
expect 'bash, a share' '1/3 2/3 3/3' "$(in_bash scan --shard '' | grep /3 | paste -sd ' ')"
expect 'bash, a state' 'image file' "$(in_bash scan x --resume im)"
expect 'bash, a list to recover from' 'image file' "$(in_bash recover x --from im)"
expect 'bash, a list to merge' 'image file' "$(in_bash merge im)"
expect 'bash, a format to merge into' dfxml "$(in_bash merge --format df)"
expect 'bash, a number' '' "$(in_bash scan --jobs '')"
expect 'bash, an image' 'image file' "$(in_bash scan imag)"
expect 'bash, a folder' folder "$(in_bash recover x --out '')"
if bash -c "source '$folder/bash'; complete -p qzmtraw" >/dev/null; then :; else failures=$((failures + 1)); fi

zsh -n "$folder/zsh" || failures=$((failures + 1))
# Under a completion's function names that only the completion system has, so it is told what it is called with.
in_zsh() {
  zsh -f -c '_arguments() { print -rl -- "$@"; state=rest words=(recover); }
             _values() { print -rl -- "$@"; }
             compadd() { print -rl -- "$@"; }
             _files() { }
             source "$1"; shift; "$@"' zsh "$folder/zsh" "$@" 2>&1
}
expect_has 'zsh, a format' '--format[table, jsonl, csv, dfxml or none]:FORMAT:(csv dfxml jsonl none table)' \
  "$(in_zsh true | grep -F -- '--format[')"
expect_has 'zsh, a category' audio-and-video "$(in_zsh _qzmtraw_categories)"
expect_has 'zsh, a type' docx "$(in_zsh _qzmtraw_types)"
expect_has 'zsh, a greatest size' docx "$(in_zsh _qzmtraw_limits)"
expect_has 'zsh, a profile' photos "$(in_zsh _qzmtraw_profiles)"
expect_has 'zsh, a profile of the user' wedding "$(in_zsh _qzmtraw_profiles)"
# With these names each option asks for them.
for asks in --types:_qzmtraw_types --exclude:_qzmtraw_types --category:_qzmtraw_categories \
  --max-size:_qzmtraw_limits --profile:_qzmtraw_profiles; do
  in_zsh true | grep -q -- "^${asks%%:*}\[.*:${asks##*:}$" || expect 'zsh, what is asked' "$asks" ''
done

# What fish offers for a line.
in_fish() {
  HOME=$scratch XDG_CONFIG_HOME=$scratch/config XDG_DATA_HOME=$scratch fish --no-config -c "
    source '$folder/fish'; complete -C '$1'" 2>&1 | cut -f1
}
fish --no-execute "$folder/fish" || failures=$((failures + 1))
expect 'fish, a command' scan "$(in_fish 'qzmtraw sc')"
expect_has 'fish, an option' --sector-size "$(in_fish 'qzmtraw scan --s')"
expect 'fish, a format' "$(printf '%s\n' csv dfxml jsonl none table)" "$(in_fish 'qzmtraw scan --format ' | sort)"
expect_has 'fish, a type' docx "$(in_fish 'qzmtraw scan x --types do')"
expect 'fish, a category' internet-and-mail "$(in_fish 'qzmtraw scan --category internet')"
expect 'fish, a profile' photos "$(in_fish 'qzmtraw scan --profile ph')"
expect 'fish, a profile of the user' wedding "$(in_fish 'qzmtraw scan --profile we')"
expect 'fish, a greatest size' docx= "$(in_fish 'qzmtraw scan --max-size docx')"
expect 'fish, progress' json "$(in_fish 'qzmtraw scan --progress js')"
expect 'fish, a list to merge' 'image file' "$(in_fish 'qzmtraw merge im')"
expect_has 'fish, a further type' jpg,docx "$(in_fish 'qzmtraw scan x --types jpg,doc')"
expect 'fish, a folder' folder/ "$(in_fish 'qzmtraw recover x --out ')"

# The manual page has every option that the help has, and nobody complains about it.
expect 'groff' '' "$(groff -man -Tutf8 -ww -z "$folder/qzmtraw.1" 2>&1)"
expect 'mandoc' '' "$(mandoc -Tlint "$folder/qzmtraw.1" 2>&1)"
page=$(groff -man -Tascii -P-c "$folder/qzmtraw.1" 2>/dev/null | col -bx 2>/dev/null ||
  groff -man -Tascii -P-cbou "$folder/qzmtraw.1")
for command in scan recover merge types; do
  while read -r option; do
    [ "$option" = --help ] && continue
    grep -q -- "$option" <<<"$page" || expect 'the manual page' "$option" ''
  done < <("$tool" "$command" --help | grep -oE '^  --[a-z-]+' | tr -d ' ')
done

[ "$failures" -eq 0 ]
