#pragma once
// Runs the sherd program in the tests: its exit code, its two streams, and
// whether it crashed or hung.
#include <QByteArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace clitest {
struct Outcome {
  int exitCode = -1;
  bool crashed = false;
  QByteArray out, err;
  // The first line on stderr, as a person reads it first.
  QByteArray firstErrorLine() const { return err.split('\n').value(0); }
};

// Standard input is never a terminal here: nothing is asked.
inline Outcome sherd(const QStringList& args, const QString& workingDir = QString(),
                     const QProcessEnvironment& env = QProcessEnvironment::systemEnvironment()) {
  QProcess p;
  p.setProgram(QStringLiteral(SHERD_EXE));
  p.setArguments(args);
  p.setProcessEnvironment(env);
  if (!workingDir.isEmpty())
    p.setWorkingDirectory(workingDir);
  p.setStandardInputFile(QProcess::nullDevice());
  p.start();
  Outcome r;
  if (!p.waitForFinished(240000)) {
    p.kill();
    p.waitForFinished();
    r.crashed = true;
    r.err = "timed out";
    return r;
  }
  r.crashed = p.exitStatus() != QProcess::NormalExit;
  r.exitCode = p.exitCode();
  r.out = p.readAllStandardOutput();
  r.err = p.readAllStandardError();
  return r;
}
} // namespace clitest
