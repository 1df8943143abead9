#pragma once
// The daemon's log: whole lines on stderr, each under "kelbased: ", or, when stderr is the
// journal's stream, under the priority prefix of sd-daemon(3) ("<4>").
//
// Set once, before anything may log. A line that cannot be written is lost: there is nowhere else
// to tell.

namespace Kelbase {

/// From here on an allocation that fails ends the process with exit code 1, said in one line: what
/// the kernel was telling would be lost with it, and a successor finds it again.
void endWithoutMemory();

/// Sends Mav::log and trace lines there for the rest of the process's life.
void logToStderr();

}  // namespace Kelbase
