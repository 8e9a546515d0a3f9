#!/usr/bin/env bash
# Installs the Debian packages that building needs (`setup.sh build`: the
# library and the tool) or, by default, those of the tests, the benchmark,
# the fuzzers and the demo too.  Runs `apt-get update` once, and only when
# something is missing.
set -euo pipefail

PKGS=(
  build-essential cmake pkg-config
  libxml2-dev libjpeg62-turbo-dev zlib1g-dev libdeflate-dev libcurl4-openssl-dev
  libpcre2-dev nlohmann-json3-dev libharfbuzz-dev libfontconfig-dev
)
if [ "${1:-test}" != build ]; then
  PKGS+=(
    libgtest-dev libgmock-dev libbenchmark-dev
    qpdf poppler-utils python3-pil python3-pikepdf python3-numpy mupdf-tools img2pdf
    clang libclang-rt-dev
    libwmf-bin librsvg2-bin fonts-urw-base35 fonts-dejavu-core
  )
fi

missing=()
for p in "${PKGS[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "setup: installing ${missing[*]}"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
