// Loading notes: 20,000 notes of the modern store (one in ten with a photo,
// its media file and its preview in the backup) and 20,000 notes of the
// legacy store, from one synthetic backup. Reports the items listed and the
// peak resident memory of the load. The attachment searches go through the
// per-load index of the file list; a scan of the whole list per search, which
// the index replaces, is timed on a slice of the identifiers for comparison.
#include "bench/benchsupport.h"
#include "model/oxdata.h"
#include "platform/backup/mobilebackup.h"
#include "platform/common/log.h"
#include "readers/ios/notes/notecollection.h"
#include "readers/ios/notes/notefileindex.h"
#include "samples/apps/notes.h"

#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <sqlite3.h>
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
  // Destroyed at exit, which removes its temporary folder.
  static const std::unique_ptr<Data> d([] {
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
  }());
  return *d;
}

// The baseline of a notes load: every row of every table of the note
// databases read bare, and a plain copy of every other file of the notes
// (media and previews) into a scratch folder. It reads more rows than the
// reader does, never fewer.
struct NoteFiles {
  QStringList databases;
  QStringList others;
};

NoteFiles noteFiles(MobileBackup* backup) {
  NoteFiles out;
  for (int i = 0; i < backup->fileCount(); ++i) {
    const BackupFileRecord r = backup->fileAt(i);
    const bool db = r.relativePath.endsWith(QLatin1String(".sqlite")) || r.relativePath.endsWith(QLatin1String(".db"));
    if (r.domain != kNotesDomain && !(db && r.relativePath.contains(QLatin1String("Notes"))))
      continue;
    const QString path = backup->filePath(i);
    if (!path.isEmpty() && QFileInfo(path).isFile())
      (db ? out.databases : out.others) << path;
  }
  return out;
}

// A plain copy, as the load makes its own: no sync to disk (QFile::copy syncs
// every file, which would make the baseline wait on the disk).
void plainCopy(const QString& from, const QString& to) {
  QFile in(from);
  QFile out(to);
  if (!in.open(QIODevice::ReadOnly) || !out.open(QIODevice::WriteOnly))
    return;
  QByteArray buffer(1 << 18, Qt::Uninitialized);
  for (qint64 got; (got = in.read(buffer.data(), buffer.size())) > 0;)
    out.write(buffer.constData(), got);
}

double baselineSeconds(const NoteFiles& files, bool withCopies) {
  const double start = bench::cpuNow();
  for (const QString& db : files.databases) {
    std::vector<QByteArray> selects;
    sqlite3* h = nullptr;
    if (sqlite3_open_v2(db.toUtf8().constData(), &h, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
      sqlite3_stmt* st = nullptr;
      if (sqlite3_prepare_v2(h, "select name from sqlite_master where type = 'table'", -1, &st, nullptr) == SQLITE_OK)
        while (sqlite3_step(st) == SQLITE_ROW)
          selects.push_back("select * from \"" + QByteArray(reinterpret_cast<const char*>(sqlite3_column_text(st, 0))) + '"');
      sqlite3_finalize(st);
    }
    sqlite3_close(h);
    std::vector<const char*> sql;
    for (const QByteArray& s : selects)
      sql.push_back(s.constData());
    benchmark::DoNotOptimize(bench::bareScanAll(db, sql));
  }
  if (withCopies) {
    QTemporaryDir copies;
    int n = 0;
    for (const QString& f : files.others)
      plainCopy(f, copies.filePath(QString::number(n++)));
  }
  return bench::cpuNow() - start;
}

void BM_LoadNotes(benchmark::State& state) {
  const Data& d = data();
  const NoteFiles files = noteFiles(d.backup.get());
  int items = 0;
  double peak = 0, before = 0, load = 0, scan = 0, scanAndCopy = 0, wall = 0;
  for (auto _ : state) {
    scan += baselineSeconds(files, false);
    scanAndCopy += baselineSeconds(files, true);
    QTemporaryDir scratch;
    bench::resetPeak();
    before = bench::peakBytes();
    const double t = bench::cpuNow(), w = bench::wallNow();
    OxData list(7);
    CNoteCollection notes(&list, scratch.path(), QStringLiteral("iPhone12,1"));
    notes.load(d.backup.get());
    load += bench::cpuNow() - t;
    wall += bench::wallNow() - w;
    items = list.count(0);
    peak = bench::peakBytes();
  }
  const double n = double(state.iterations());
  state.counters["items"] = items;
  state.counters["load_cpu_s"] = load / n;
  state.counters["load_wall_s"] = wall / n;
  state.counters["bare_scan_cpu_s"] = scan / n;
  state.counters["scan_and_copy_cpu_s"] = scanAndCopy / n;
  state.counters["ratio_to_scan_and_copy"] = load / scanAndCopy;
  state.counters["peak_MiB"] = peak / (1024.0 * 1024.0);
  state.counters["peak_growth_MiB"] = (peak - before) / (1024.0 * 1024.0);
  bench::summary("notes 20k+20k, 10% with attachments", load / n, scanAndCopy / n, peak - before,
                 bench::fileBytes(files.databases + files.others));
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
