// Loading notes: 20,000 notes of the modern store (one in ten with a photo,
// its media file and its preview in the backup) and 20,000 notes of the
// legacy store, from one synthetic backup. Reports the items listed and the
// peak resident memory of the load. The attachment searches go through the
// per-load index of the file list; a scan of the whole list per search, which
// the index replaces, is timed on a slice of the identifiers for comparison.
#include "model/oxdata.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/log.h"
#include "readers/ios/notes/notecollection.h"
#include "readers/ios/notes/notefileindex.h"
#include "samples/apps/notes.h"

#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <malloc.h>
#include <memory>

namespace {
using namespace fixture;
using namespace fixture::notes;

const int kModern = 20000;
const int kLegacy = 20000;

QString uuid(int kind, int i) {
  return QStringLiteral("%1-0000-4000-8000-%2").arg(kind, 8, 16, QLatin1Char('0')).arg(i, 12, 10, QLatin1Char('0')).toUpper();
}

struct Data {
  QTemporaryDir dir;
  std::unique_ptr<MobileBackup> backup;
  QStringList mediaIds;
};

const Data& data() {
  static Data* d = [] {
    auto* d = new Data;
    const QByteArray png = pngImage(32, 24, 0x4488cc);
    QList<ModernNote> modern;
    for (int i = 0; i < kModern; ++i) {
      ModernNote n;
      n.identifier = uuid(1, i);
      n.title = QStringLiteral("Modern note %1").arg(i);
      n.folder = QStringLiteral("Folder %1").arg(i % 20);
      n.modified = 600000000 + i * 60;
      n.text = n.title + QStringLiteral("\nSome text of the note, a line or two long, with a few words in it.\n");
      if (i % 10 == 0) {
        ModernAttachment a;
        a.identifier = uuid(2, i);
        a.mediaId = uuid(3, i);
        a.fileName = QStringLiteral("photo%1.jpeg").arg(i);
        a.mediaData = png;
        a.previewId = a.identifier + QStringLiteral("-1-32x24-0");
        a.previewData = png;
        n.text += QChar(0xFFFC);
        n.attachments << a;
        d->mediaIds << a.mediaId;
      }
      modern << n;
    }
    QList<LegacyNote> legacy;
    for (int i = 0; i < kLegacy; ++i) {
      LegacyNote n;
      n.guid = QStringLiteral("legacy-%1").arg(i);
      n.title = QStringLiteral("Legacy note %1").arg(i);
      n.html = QStringLiteral("<div>%1</div><div>Body of the legacy note, <b>bold</b> and plain.</div>").arg(n.title);
      n.icloud = i % 2;
      n.modified = 300000000 + i * 60;
      legacy << n;
    }
    QString error;
    const QString folder = d->dir.filePath(QStringLiteral("backup"));
    if (!writeBackup(folder, BackupPlan(), modernFiles(modern, ModernLayout::Ios17) + legacyFiles(legacy, {}), &error))
      qFatal("cannot write the benchmark backup: %s", qPrintable(error));
    d->backup.reset(MobileBackup::loadFromPath(folder));
    if (!d->backup)
      qFatal("cannot open the benchmark backup");
    return d;
  }();
  return *d;
}

// Peak resident memory since the last reset, in KiB (Linux).
qint64 peakKiB() {
  QFile f(QStringLiteral("/proc/self/status"));
  if (!f.open(QIODevice::ReadOnly))
    return -1;
  for (const QByteArray& line : f.readAll().split('\n'))
    if (line.startsWith("VmHWM:"))
      return line.mid(6).trimmed().split(' ').value(0).toLongLong();
  return -1;
}

void resetPeak() {
  QFile f(QStringLiteral("/proc/self/clear_refs"));
  if (f.open(QIODevice::WriteOnly))
    f.write("5");
}

void BM_LoadNotes(benchmark::State& state) {
  const Data& d = data();
  int items = 0;
  qint64 peak = 0, before = 0;
  for (auto _ : state) {
    QTemporaryDir scratch;
    // Hand the heap that building the backup left free back to the system, so
    // that the peak below is the load's own.
    malloc_trim(0);
    resetPeak();
    before = peakKiB();
    OxData list(7);
    CNoteCollection notes(&list, scratch.path(), QStringLiteral("iPhone12,1"));
    notes.load(d.backup.get());
    items = list.count(0);
    peak = peakKiB();
  }
  state.counters["items"] = items;
  state.counters["peak_MiB"] = double(peak) / 1024.0;
  state.counters["peak_growth_MiB"] = double(peak - before) / 1024.0;
}
BENCHMARK(BM_LoadNotes)->Unit(benchmark::kMillisecond)->Iterations(2);

// The same searches, by index and by a walk over the whole file list.
void BM_AttachmentSearchIndexed(benchmark::State& state) {
  const Data& d = data();
  NoteFileIndex index;
  index.build(d.backup.get());
  const int n = int(state.range(0));
  for (auto _ : state) {
    int found = 0;
    for (int i = 0; i < n; ++i)
      found += index.find(kNotesDomain, d.mediaIds.at(i)).size();
    benchmark::DoNotOptimize(found);
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_AttachmentSearchIndexed)->Arg(200)->Unit(benchmark::kMillisecond);

void BM_AttachmentSearchLinear(benchmark::State& state) {
  const Data& d = data();
  const int n = int(state.range(0));
  const int files = d.backup->fileCount();
  for (auto _ : state) {
    int found = 0;
    for (int i = 0; i < n; ++i)
      for (int f = 0; f < files; ++f) {
        const BackupFileRecord r = d.backup->fileAt(f);
        found += r.domain == kNotesDomain && r.relativePath.contains(d.mediaIds.at(i));
      }
    benchmark::DoNotOptimize(found);
  }
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_AttachmentSearchLinear)->Arg(200)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication app(argc, argv); // the legacy bodies go through QTextDocument
  SherdLog::silence();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
