#!/usr/bin/env bash
# Removes the files that the last `make install` wrote, as listed in the
# manifest (paths without DESTDIR: give the same DESTDIR as to install), then the package's own folders (include/kivuimg, the CMake
# package folder) once they are empty.  Nothing else is touched.
set -euo pipefail

manifest=${1:-build/install_manifest.txt}
if [ ! -f "$manifest" ]; then
  echo "uninstall: $manifest not found: nothing was installed from this build" >&2
  exit 1
fi

dirs=()
while IFS= read -r f || [ -n "$f" ]; do
  [ -n "$f" ] || continue
  f="${DESTDIR:-}$f"
  if [ -e "$f" ] || [ -L "$f" ]; then
    rm -f -- "$f"
    echo "-- Removed: $f"
  fi
  case "$f" in
    */include/kivuimg/*) dirs+=("${f%%/include/kivuimg/*}/include/kivuimg") ;;
    */cmake/KivuImg/*) dirs+=("${f%/*}") ;;
  esac
done < "$manifest"

for d in $(printf '%s\n' "${dirs[@]+"${dirs[@]}"}" | sort -u); do
  [ -d "$d" ] && find "$d" -depth -type d -empty -delete
done
rm -f -- "$manifest"
