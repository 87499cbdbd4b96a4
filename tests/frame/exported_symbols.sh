#!/usr/bin/env bash
# Checks that a library shows one symbol to the outside and needs nothing but the standard library.
set -euo pipefail
library=$1

exported=$(nm --dynamic --defined-only "$library" | awk '{ print $NF }')
if [ "$exported" != GetRawFileTypeFactory ]; then
  printf '%s exports other symbols than GetRawFileTypeFactory:\n%s\n' "$library" "$exported" >&2
  exit 1
fi

needed=$(readelf --dynamic --wide "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
foreign=$(grep -vE '^(libstdc\+\+|libm|libgcc_s|libc|ld-linux-x86-64|libc\+\+|libc\+\+abi)\.so' <<<"$needed" || true)
if [ -n "$foreign" ]; then
  printf '%s needs libraries beside the standard library:\n%s\n' "$library" "$foreign" >&2
  exit 1
fi
