#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the benchmarks need, if any is
# missing. Idempotent, and quick when everything is already there.
set -euo pipefail

packages=(
  cmake ninja-build g++ make pkg-config clang-format # toolchain
  clang libclang-rt-14-dev                       # libFuzzer for the fuzz targets
  libicu-dev zlib1g-dev liburiparser-dev         # the library's dependencies
  libarchive-dev                                 #   (archives: TextPacks)
  libacl1-dev libbz2-dev liblz4-dev liblzma-dev  #   libarchive's own, for linking the static
  libxml2-dev libzstd-dev nettle-dev             #   library (pkg-config --static)
  libcli11-dev nlohmann-json3-dev                # the orvel program's command line and JSON output
  libcpp-httplib-dev                             # orvel serve's web server
  chromium chromium-driver python3-selenium      # orvel serve's page tested in a browser
  libgtest-dev libgmock-dev                      # tests
  pybind11-dev python3-dev python3-pytest        # the Python module and its tests
  python3-distributed                            #   on a Dask cluster
  python3-pybind11 python3-setuptools            #   built by pip (pyproject.toml) into
  python3-venv python3-pip python3-wheel         #   a virtual environment
  man-db                                         # rendering the manual page in the checks
  tmux                                           # a real terminal for the progress line's test
  libbenchmark-dev libssl-dev libxapian-dev      # benchmarks (OpenSSL, Xapian and SQLite are
  libsqlite3-dev                                 #   peers, never linked by the library)
  ripgrep ugrep hyperfine time                   # peers of the search benchmarks; GNU time
                                                 #   measures their peak memory
  recollcmd xapian-omega xapian-tools sqlite3    # peers of the index benchmark (recoll,
                                                 #   Xapian's omindex and quest, SQLite FTS5)
  libxml2-dev libgumbo-dev                       # peers of the HTML benchmarks (C parsers)
  python3-html2text python3-bs4 python3-lxml     #   and the Python converters users pick
  python3.11-doc                                 # the HTML corpus of those benchmarks
  python3-feedparser                             # peer of the feed benchmark and agreement test
  libcld2-dev python3-langdetect                 # peers of the language benchmark
)

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$package")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "setup: installing ${missing[*]}" >&2
sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
