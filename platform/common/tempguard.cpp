#include "platform/common/tempguard.h"

#include "platform/common/log.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {
// The root to remove from a signal handler: a fixed buffer, filled once.
char g_root[4096];

#if defined(__linux__)
struct LinuxDirent64 {
  ino64_t d_ino;
  off64_t d_off;
  unsigned short d_reclen;
  unsigned char d_type;
  char d_name[1];
};
#endif

// Removes everything inside the open folder fd, depth first; the depth bound
// keeps the handler's stack small whatever a folder holds. Elsewhere than on
// Linux nothing is removed here, and the next start's sweep does it.
void removeContents(int fd, int depth) {
#if !defined(__linux__)
  (void)fd;
  (void)depth;
  return;
#else
  if (depth > 32)
    return;
  alignas(8) char buffer[4096];
  for (;;) {
    const long n = syscall(SYS_getdents64, fd, buffer, sizeof buffer);
    if (n <= 0)
      return;
    bool removedAny = false;
    for (long off = 0; off < n;) {
      const auto* d = reinterpret_cast<const LinuxDirent64*>(buffer + off);
      off += d->d_reclen;
      const char* name = d->d_name;
      if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0)
        continue;
      if (unlinkat(fd, name, 0) == 0) {
        removedAny = true;
        continue;
      }
      const int sub = openat(fd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
      if (sub >= 0) {
        removeContents(sub, depth + 1);
        close(sub);
      }
      if (unlinkat(fd, name, AT_REMOVEDIR) == 0)
        removedAny = true;
    }
    if (!removedAny)
      return; // nothing more can go: do not loop for ever
    lseek(fd, 0, SEEK_SET);
  }
#endif
}

void removeRootNow() {
  if (!g_root[0])
    return;
  const int fd = open(g_root, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (fd >= 0) {
    removeContents(fd, 0);
    close(fd);
  }
  rmdir(g_root);
}

extern "C" void onTerminatingSignal(int sig) {
  const int saved = errno;
  removeRootNow();
  signal(sig, SIG_DFL);
  errno = saved;
  raise(sig);
}

bool processExists(long pid) {
  if (pid <= 0)
    return true; // not a pid we can reason about: keep the folder
  return kill(pid_t(pid), 0) == 0 || errno == EPERM;
}
} // namespace

QString TempGuard::rootPrefix() { return QStringLiteral("sherd-%1-").arg(qint64(getpid())); }

int TempGuard::sweepStale(const QString& base) {
  static const QRegularExpression pattern(QStringLiteral("^sherd-(\\d+)-[A-Za-z0-9]{6}$"));
  int removed = 0;
  const QFileInfoList entries = QDir(base).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden);
  for (const QFileInfo& fi : entries) {
    const QRegularExpressionMatch m = pattern.match(fi.fileName());
    if (!m.hasMatch() || fi.isSymLink() || fi.ownerId() != uint(geteuid()))
      continue;
    const long pid = m.captured(1).toLong();
    if (pid == long(getpid()) || processExists(pid))
      continue;
    if (QDir(fi.absoluteFilePath()).removeRecursively()) {
      ++removed;
      Log("TempGuard", 2, "removed the temporary folder %s, left by an ended process",
          qPrintable(fi.absoluteFilePath()));
    } else {
      Log("TempGuard", 1, "cannot remove the temporary folder %s left by an ended process",
          qPrintable(fi.absoluteFilePath()));
    }
  }
  return removed;
}

void TempGuard::install(const QString& root) {
  const QByteArray path = QFile::encodeName(root);
  if (path.size() >= int(sizeof g_root)) {
    Log("TempGuard", 1, "the temporary folder's path is too long to be removed on a signal: %s", qPrintable(root));
    return;
  }
  std::memcpy(g_root, path.constData(), size_t(path.size()) + 1);
  struct sigaction action;
  std::memset(&action, 0, sizeof action);
  action.sa_handler = onTerminatingSignal;
  sigemptyset(&action.sa_mask);
  for (int sig : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction previous;
    // A signal the process was started to ignore (nohup) stays ignored.
    if (sigaction(sig, nullptr, &previous) == 0 && previous.sa_handler == SIG_IGN)
      continue;
    sigaction(sig, &action, nullptr);
  }
}
