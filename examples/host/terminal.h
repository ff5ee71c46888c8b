// terminal.h: the interactive prompt of zorvat-host on a terminal.
//
// Line editing, a history kept in the user's data directory
// ($XDG_DATA_HOME/zorvat/history, else ~/.local/share/zorvat/history) and
// tab completion of variable, command and function names, through libedit.
// While a block is open the prompt is ".. ".  Ctrl-C cancels the line being
// typed (and an open block), or stops the evaluation at its next statement,
// operator or loop step; the session and its workspace stay.
#pragma once

#include "session.h"

namespace zorvat_host {

// Reads and runs lines until end of input or `exit`; returns the exit status.
int run_terminal(session& s);

}  // namespace zorvat_host
