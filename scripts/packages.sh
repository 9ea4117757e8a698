# The Debian packages that each job needs; sourced by the scripts that do it.
build_packages=(g++ cmake ninja-build zlib1g-dev libupnp-dev libcli11-dev nlohmann-json3-dev libedit-dev libpugixml-dev)
test_packages=(googletest clang-format clang-tidy python3 binutils pkg-config busybox mandoc)
cross_packages=(g++-mips-linux-gnu qemu-user-static make bzip2)
picture_packages=(python3 python3-pyte)
