// Costs of the backup library: opening a large manifest and walking its
// records (beside a bare SQLite scan of the same table), the password key
// derivation, and the decryption of stored files.
#include "bench/benchsupport.h"
#include "platform/backup/backupcrypto.h"
#include "platform/backup/mobilebackup.h"
#include "platform/backup/readaheadvfs.h"
#include "platform/common/log.h"
#include "samples/backupfixture.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <vector>

namespace {
constexpr int kRecords = 300000;

// One plain backup of kRecords regular files (manifest only), made once.
struct LargeBackup {
  QTemporaryDir dir;
  QString folder;
  LargeBackup() {
    SherdLog::silence();
    folder = dir.filePath(QStringLiteral("large"));
    QList<fixture::StoredFile> files;
    files.reserve(kRecords);
    const QStringList domains = {QStringLiteral("HomeDomain"), QStringLiteral("MediaDomain"),
                                 QStringLiteral("AppDomain-net.whatsapp.WhatsApp"),
                                 QStringLiteral("AppDomainGroup-group.com.apple.notes")};
    for (int i = 0; i < kRecords; ++i) {
      fixture::StoredFile f;
      f.domain = domains.at(i % domains.size());
      f.relativePath = QStringLiteral("Library/Folder%1/Sub%2/file-%3.dat").arg(i % 97).arg(i % 13).arg(i);
      f.recordedSize = (i % 50 == 0) ? 0 : 1000 + i;
      files.append(f);
    }
    fixture::BackupPlan plan;
    plan.writeContents = false;
    QString err;
    if (!fixture::writeBackup(folder, plan, files, &err))
      std::fprintf(stderr, "cannot write the benchmark backup: %s\n", qPrintable(err));
  }
};

LargeBackup& largeBackup() {
  static LargeBackup b;
  return b;
}

// The same rows read straight from SQLite, every column touched; through the
// default VFS unless another is named.
qint64 bareScan(const QString& db, const char* vfs = nullptr) {
  const QByteArray uri = "file:" + db.toUtf8() + "?mode=ro&immutable=1";
  sqlite3* h = nullptr;
  sqlite3_open_v2(uri.constData(), &h, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, vfs);
  sqlite3_stmt* st = nullptr;
  sqlite3_prepare_v2(h, "select fileID, domain, relativePath, flags, file from Files", -1, &st, nullptr);
  qint64 sum = 0;
  while (sqlite3_step(st) == SQLITE_ROW) {
    sum += sqlite3_column_bytes(st, 0) + sqlite3_column_bytes(st, 1) + sqlite3_column_bytes(st, 2);
    sum += sqlite3_column_int(st, 3);
    const void* blob = sqlite3_column_blob(st, 4);
    sum += sqlite3_column_bytes(st, 4) + (blob ? 1 : 0);
  }
  sqlite3_finalize(st);
  sqlite3_close(h);
  return sum;
}

// Thread CPU seconds: less disturbed than wall time by other work on the host.
double cpuNow() {
  timespec ts{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return double(ts.tv_sec) + double(ts.tv_nsec) / 1e9;
}

double secondsOf(const std::function<void()>& f) {
  const double start = cpuNow();
  f();
  return cpuNow() - start;
}

void BM_BareSqliteScan(benchmark::State& state) {
  const QString db = QDir(largeBackup().folder).filePath(QStringLiteral("Manifest.db"));
  for (auto _ : state)
    benchmark::DoNotOptimize(bareScan(db));
  state.counters["records"] = kRecords;
}

void BM_OpenAndIterate(benchmark::State& state) {
  const QString folder = largeBackup().folder;
  const QString db = QDir(folder).filePath(QStringLiteral("Manifest.db"));
  // The bare scan, timed in the same run, for the ratio.
  std::vector<double> scans;
  for (int i = 0; i < 3; ++i)
    scans.push_back(secondsOf([&] { benchmark::DoNotOptimize(bareScan(db)); }));
  std::sort(scans.begin(), scans.end());
  // The library reads the manifest through its read-ahead VFS: the same scan
  // through it tells the I/O gain apart from the library's own work.
  std::vector<double> aheadScans;
  for (int i = 0; i < 3; ++i)
    aheadScans.push_back(secondsOf([&] { benchmark::DoNotOptimize(bareScan(db, ReadAheadVfs::name())); }));
  std::sort(aheadScans.begin(), aheadScans.end());
  std::vector<double> opens;
  int count = 0;
  for (auto _ : state) {
    const double s = secondsOf([&] {
      std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(folder));
      qint64 sum = 0;
      count = b ? b->fileCount() : 0;
      for (int i = 0; i < count; ++i) {
        const BackupFileRecord r = b->fileAt(i);
        sum += r.size + r.modified + r.relativePath.size() + r.domain.size();
      }
      benchmark::DoNotOptimize(sum);
    });
    opens.push_back(s);
  }
  std::sort(opens.begin(), opens.end());
  state.counters["records"] = count;
  state.counters["bare_scan_cpu_s"] = scans[1];
  state.counters["open_iterate_cpu_s"] = opens[opens.size() / 2];
  state.counters["ratio_to_scan"] = opens[opens.size() / 2] / scans[1];
  state.counters["readahead_scan_cpu_s"] = aheadScans[1];
  state.counters["ratio_to_readahead_scan"] = opens[opens.size() / 2] / aheadScans[1];
  bench::summary("manifest 300k records", opens[opens.size() / 2], scans[1], 0, 0);
}

// PBKDF2 costs per iteration count; the real keybag uses 10,000,000 rounds of
// HMAC-SHA256 and 10,000 of HMAC-SHA1 (scale the first linearly).
void BM_Pbkdf2Sha256(benchmark::State& state) {
  const QByteArray salt(20, '\x42');
  QByteArray key;
  double cpu = 0;
  for (auto _ : state)
    cpu += secondsOf(
        [&] { BackupCrypto::pbkdf2(BackupCrypto::Digest::Sha256, "password", salt, int(state.range(0)), 32, &key); });
  state.counters["iterations"] = double(state.range(0));
  // The real count's cost, scaled linearly from this count.
  state.counters["cpu_s_per_10M"] = cpu / double(state.iterations()) * 1e7 / double(state.range(0));
}

void BM_Pbkdf2Sha1(benchmark::State& state) {
  const QByteArray salt(20, '\x42');
  QByteArray key;
  for (auto _ : state)
    BackupCrypto::pbkdf2(BackupCrypto::Digest::Sha1, QByteArray(32, '\x01'), salt, int(state.range(0)), 32, &key);
  state.counters["iterations"] = double(state.range(0));
}

// Streamed decryption of one stored file, as readers trigger it.
void BM_DecryptFile(benchmark::State& state) {
  QTemporaryDir dir;
  const QByteArray key(32, '\x17');
  QByteArray plain(int(state.range(0)), '\0');
  for (int i = 0; i < plain.size(); ++i)
    plain[i] = char(i * 131 + (i >> 9));
  QByteArray cipher;
  BackupCrypto::encryptCbc(key, plain, &cipher);
  {
    QFile f(dir.filePath(QStringLiteral("c")));
    f.open(QIODevice::WriteOnly);
    f.write(cipher);
  }
  qint64 len = 0;
  QString err;
  // Wall time too: the work waits on the disk as much as on the cipher. The
  // baseline is a plain copy of the same file, timed in the same loop.
  double wall = 0, copyWall = 0, cpu = 0, copyCpu = 0;
  for (auto _ : state) {
    QFile::remove(dir.filePath(QStringLiteral("copy")));
    double w = bench::wallNow(), c = cpuNow();
    QFile::copy(dir.filePath(QStringLiteral("c")), dir.filePath(QStringLiteral("copy")));
    copyWall += bench::wallNow() - w;
    copyCpu += cpuNow() - c;
    w = bench::wallNow();
    c = cpuNow();
    BackupCrypto::decryptFile(dir.filePath(QStringLiteral("c")), dir.filePath(QStringLiteral("p")), key,
                              BackupCrypto::Padding::Strip, &len, &err);
    wall += bench::wallNow() - w;
    cpu += cpuNow() - c;
  }
  const double n = double(state.iterations());
  state.counters["decrypt_wall_s"] = wall / n;
  state.counters["copy_wall_s"] = copyWall / n;
  state.counters["wall_ratio_to_copy"] = wall / copyWall;
  bench::summary("decrypt 64 MiB file (wall)", wall / n, copyWall / n, 0, 0);
  bench::summary("decrypt 64 MiB file (CPU)", cpu / n, copyCpu / n, 0, 0);
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

// An encrypted backup end to end: open (small key derivation counts) and
// decrypt every file once through the library.
void BM_EncryptedOpenAndDecryptAll(benchmark::State& state) {
  SherdLog::silence();
  QTemporaryDir dir;
  const QString folder = dir.filePath(QStringLiteral("enc"));
  fixture::BackupPlan plan;
  plan.password = QStringLiteral("pw");
  plan.sha256Iterations = 1000;
  plan.sha1Iterations = 10000;
  QList<fixture::StoredFile> files;
  const int n = 64;
  QByteArray data(1 << 20, '\0');
  for (int i = 0; i < data.size(); ++i)
    data[i] = char(i * 7);
  for (int i = 0; i < n; ++i)
    files << fixture::file(QStringLiteral("HomeDomain"), QStringLiteral("f%1").arg(i), data);
  QString err;
  fixture::writeBackup(folder, plan, files, &err);
  for (auto _ : state) {
    std::unique_ptr<MobileBackup> b(MobileBackup::loadFromPath(folder, plan.password));
    for (int i = 0; b && i < b->fileCount(); ++i)
      benchmark::DoNotOptimize(b->filePath(i));
  }
  state.SetBytesProcessed(state.iterations() * qint64(n) * data.size());
}
} // namespace

BENCHMARK(BM_BareSqliteScan)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_OpenAndIterate)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(BM_Pbkdf2Sha256)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Pbkdf2Sha256)->Arg(10000000)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Pbkdf2Sha1)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DecryptFile)->Arg(64 << 20)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EncryptedOpenAndDecryptAll)->Unit(benchmark::kMillisecond)->Iterations(3);

BENCHMARK_MAIN();
