#pragma once

namespace gwconf {

/// Builds the live tree: from the file `argument` when that is given and loads, otherwise from the
/// factory defaults with the saved settings laid over them and the deleted default instances taken
/// out. `argument` is a path, or none. Returns 0, or the exit status of the process: 4 without
/// memory for a root, or the loader's result; the live tree is then absent or holds what was
/// loaded.
[[nodiscard]] int start_up(const char* argument);

/// The handler of the termination signals: removes the request socket, if it is this process's, and
/// ends the process with status 1. Nothing is saved; it may interrupt anything, so it calls nothing
/// but what a signal handler may.
void CM_CORE_Terminate(int signal);

/// Installs CM_CORE_Terminate for SIGTERM, SIGHUP, SIGINT and SIGQUIT.
void install_termination_handler();

/// Takes the address room that requests need on the stack while it can be had. The stack grows by
/// itself otherwise, and where there is no room left that ends the process, with no result that
/// could be checked. Nothing happens where the stack is smaller than a device's 256 KiB.
void reserve_stack();

/// Opens the null device on whichever of the descriptors 0 to 2 is closed: a connection must not
/// get one of these numbers, since what is written to them goes to the console.
void occupy_standard_descriptors();

}  // namespace gwconf
