# Sourced by ./demo and ./check: makes sure that Debian packages are there.

# ensure_packages PACKAGE...: installs those that are missing, as root or with sudo; otherwise prints
# the one line to type and fails. The line begins with two blanks: tools/bare looks for it.
ensure_packages() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  local sudo=
  if [ "$(id -u)" -ne 0 ]; then
    if ! sudo -n true 2>/dev/null; then
      local line="apt-get update && apt-get install -y --no-install-recommends ${missing[*]}"
      if command -v sudo >/dev/null; then line="sudo ${line/&& /&& sudo }"; else line="su -c '$line'"; fi
      echo "Packages are missing, and installing them takes root's rights. Please type" >&2
      echo "  $line" >&2
      echo "and then again what you typed just now." >&2
      return 1
    fi
    sudo=sudo
  fi
  echo "== Installing ${missing[*]}"
  $sudo apt-get -qq update
  $sudo env DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends \
    "${missing[@]}" >/dev/null
}

# What the program is built with.
BUILD_PACKAGES=(g++ cmake ninja-build libsqlite3-dev libboost-dev libicu-dev libcli11-dev nlohmann-json3-dev
  libutf8proc-dev libxlsxwriter-dev libssl-dev unixodbc-dev tdsodbc libedit-dev libcpp-httplib-dev
  libjs-chart.js)
# What its tests need beyond that.
TEST_PACKAGES=(doctest-dev clang-format git python3-openpyxl python3-markdown python3-html5lib jq sqlite3
  mandoc zsh fish)
# The clients that others wrote, for the tests of the service (tests/clients).
CLIENT_PACKAGES=(freetds-bin tdsodbc unixodbc python3-pyodbc libjtds-java default-jdk-headless openssl)
# What the tests of the desk's page look at it with (tests/desk).
PAGE_PACKAGES=(chromium fonts-noto-cjk)
# Node.js may come from elsewhere than Debian, with an npm of its own.
command -v npm >/dev/null || PAGE_PACKAGES+=(nodejs npm)
# What makes a bare machine to try the first commands on (tools/bare).
BARE_PACKAGES=(debootstrap git)
# What fuzz targets are built with (fuzz/run).
FUZZ_PACKAGES=(clang libclang-rt-14-dev doctest-dev)
# What the Debian package is made and looked at with (tools/package).
PACKAGE_PACKAGES=(dpkg-dev file lintian)
# What finds faults without running anything.
TIDY_PACKAGES=(clang-tidy)
# What the COM server is cross-built and tested with.
WINDOWS_PACKAGES=(g++-mingw-w64-x86-64 g++-mingw-w64-i686 mingw-w64-tools wine wine64 locales)

# node_modules FOLDER: installs what the folder's package-lock.json pins below build/, and prints where.
node_modules() {
  local target=$PWD/build/node/${1##*/}
  mkdir -p "$target" && cp "$1"/package*.json "$target" &&
    npm ci --prefix "$target" --no-audit --no-fund --ignore-scripts --silent >&2 && echo "$target"
}

# wine32_modules FOLDER: prints where Wine's modules for 32-bit programs are, which lets 64-bit Wine
# run them. Fetches them into FOLDER where they are missing, with package lists of its own, so that
# the system keeps its packages and its architectures. Fails where they cannot be had.
wine32_modules() {
  local folder=$1 modules=usr/lib/i386-linux-gnu/wine version
  version=$(dpkg-query -W -f '${Version}' libwine 2>/dev/null) || return 1
  [ -d "/$modules" ] && { echo "/$modules"; return; }
  [ -f "$folder/$version" ] && { echo "$folder/$modules"; return; }
  rm -rf "$folder" && mkdir -p "$folder/lists/partial" "$folder/cache/archives/partial" || return 1
  (
    cd "$folder" || exit 1
    apt=(apt-get -qq -o APT::Architectures::=i386 -o "Dir::State::Lists=$PWD/lists"
         -o "Dir::Cache=$PWD/cache" -o APT::Sandbox::User=root)
    # A source without this architecture is no reason to stop.
    timeout 300 "${apt[@]}" update
    timeout 300 "${apt[@]}" download "libwine:i386=$version" || exit 1
    dpkg-deb --fsys-tarfile libwine_*.deb | tar -x "./$modules" || exit 1
    rm -rf lists cache libwine_*.deb
    touch "$version"
  ) >/dev/null 2>&1 || return 1
  echo "$folder/$modules"
}
