#pragma once
// Terminal: the few services of the process's standard streams and signals that the
// console front end needs. One implementation per platform (posix/ beside this header).

namespace tessaron {

enum class StdStream { In, Out, Err };

// Makes sure the console front end writes where its caller reads. A Windows program
// without a console of its own (tessaron.exe started from a command prompt or script)
// whose standard streams lead nowhere takes the console of the process that started it,
// if there is one; a console run never shows a system error box (no disk in a drive),
// which nobody might be there to answer. Elsewhere it does nothing.
void UseParentConsole();

// True when the stream is attached to an interactive terminal.
bool IsTerminal(StdStream stream);

// Width of the terminal on standard error in columns; 0 when unknown.
int TerminalColumns();

// Installs the interrupt handlers: the first Ctrl+C (SIGINT) or termination request
// (SIGTERM) only raises the flag that InterruptRequested reports, so that the run can stop
// at its next check; a second one ends the process at once with status 130. A closed
// output pipe (SIGPIPE) no longer ends the process. Call once.
void InstallInterruptHandlers();

// True once the first interrupt has arrived.
bool InterruptRequested();

} // namespace tessaron
