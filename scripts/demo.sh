#!/usr/bin/env bash
# Converts every bundled sample image into out/demo.pdf, one page each.
set -euo pipefail
cd "$(dirname "$0")/.."
mkdir -p out
export KIVU_HOME="${KIVU_HOME:-$PWD/out/home}"
inputs=()
for f in samples/*; do
  case "$f" in *.jpg|*.jpeg|*.png|*.gif|*.bmp|*.wmf|*.svg) inputs+=("$f");; esac
done
./build/kivuimg info "${inputs[@]}"
./build/kivuimg convert "${inputs[@]}" -o out/demo.pdf
echo "wrote out/demo.pdf (${#inputs[@]} pages)"
