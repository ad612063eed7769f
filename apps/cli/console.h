#pragma once
// What the sherd program writes on stderr, and how: the library's log lines,
// the command's own notes and errors, and one status line (a progress bar)
// that only a terminal sees.
//
// Every line starts "sherd <command>: ". By default only errors of the
// library are shown; --verbose adds information and debug detail; --quiet
// shows nothing but fatal errors and the command's results. Secrets handed to
// addSecret (passwords) are replaced by "***" in every line, whatever its
// level. While an opening is held (holdLines), the library's lines wait, so
// that the reason an opening failed is printed once, by the command.
#include <QString>
#include <QStringList>

namespace cli::console {
enum class Verbosity { Quiet, Normal, Verbose };

// Installs the log sink; the command names every line.
void begin(const char* command, Verbosity verbosity);
const char* command();
Verbosity verbosity();
void addSecret(const QString& secret);
// For the demo, whose passwords are printed anyway: nothing is hidden, so that
// a short sample password does not blank parts of paths.
void hideNoSecrets();
QString redacted(QString text);

// Whether the stream is a terminal that a person watches.
bool stderrIsTerminal();
bool stdinIsTerminal();

// A fatal error: always printed, once.
void error(const QString& text);
// A note of the command (what it does now, a summary): not with --quiet.
void note(const QString& text);

// The status line: drawn on a terminal only, redrawn below each log line,
// cleared by clearStatus (and before a note or an error).
void setStatus(const QString& text);
void clearStatus();

// Error lines the library logged since begin (whether shown or not).
int loggedErrors();

// Library lines wait while held; release prints them, but for the lines whose
// text is `drop` (the failure the command reports itself).
void holdLines();
void releaseLines(const QString& drop = QString());
} // namespace cli::console

namespace cli::console {
// Asks on the terminal for a secret, without echo. False at the end of input.
bool readSecret(const QString& prompt, QString* secret);
} // namespace cli::console
