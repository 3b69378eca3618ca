#!/usr/bin/env bash
# Installs every system package that building and testing KerrowSDK needs on a
# fresh Debian 12 machine (run as root). Safe to run again.
set -u
export DEBIAN_FRONTEND=noninteractive

if ! dpkg --print-foreign-architectures | grep -qx i386; then
  dpkg --add-architecture i386
fi
# One index may fail to download on these machines; the installs still work.
apt-get update -q || echo "install-deps: apt-get update reported a failure; continuing"

native=(
  build-essential cmake ninja-build ccache pkg-config
  g++-multilib clang libclang-rt-14-dev clang-format
  libtinyxml-dev libgtest-dev libbenchmark-dev
  liblog4cpp5v5
  libsqlite3-dev nlohmann-json3-dev libcli11-dev
  # Runs the i386 tests on kernels that cannot run 32-bit programs.
  qemu-user
)
i386=(
  libtinyxml-dev:i386 libgtest-dev:i386 liblog4cpp5-dev:i386
  # libsqlite3-dev:i386 cannot sit beside the multilib C headers; the i386
  # build uses the amd64 package's headers and links this runtime by name.
  libsqlite3-0:i386
)
apt-get install -y -q --no-install-recommends "${native[@]}" "${i386[@]}"
