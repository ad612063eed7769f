#pragma once
// The base of every query: one table, or one SQL statement, of an app database.
//
// A subclass appends its SELECT statement to m_sqls and its COUNT statement to
// m_countSqls in its constructor, and implements onRow(), which reads the
// current row's columns by index (in the order of the SELECT list), creates one
// record on the heap and keeps it in a map of its own. The query owns those
// records and deletes them in its destructor; the collection that runs the query
// reads the maps by reference while the query is alive and never takes them
// over. A query lives on the stack for one run: constructed, query() called once
// over the candidate files, maps read, destroyed.
//
// query() never fails towards its caller. A missing file, a database that cannot
// be opened or a statement that cannot be prepared (a table or column the schema
// lacks) is logged and leaves the maps with whatever could still be read.
#include <QString>
#include <QStringList>

class CIProgressCallback;
struct sqlite3;
struct sqlite3_stmt;

class CISQLiteQuery {
public:
  CISQLiteQuery();
  virtual ~CISQLiteQuery();

  // Runs the query over every file in order. For each file: skip it when it does
  // not exist; count its rows with m_countSqls and skip it when the count is not
  // above 0; size the progress step as the sink's range divided by the count;
  // run the statements of m_sqls in order, leaving out the rest of the file's
  // statements after one fails. One progress step is reported per row read. The
  // sink is not owned and may be null.
  virtual void query(const QStringList& files, CIProgressCallback* progress);

  // The negative results of countRows and execSql; any other result is a
  // number of rows.
  enum Failure { PrepareFailed = -1, OpenFailed = -2 };

  // Opens the file and runs the COUNT statements in order; each one that yields
  // a row replaces the count (the last one decides). Returns the count (0 when
  // none yielded a row) or a Failure.
  int countRows(const QString& path, const QStringList& countSqls);

  // Opens the file and runs one statement (or customSql's replacement), handing
  // every row to onRow until it returns false or the sink asks to stop. Returns
  // the number of rows onRow accepted or a Failure.
  int execSql(const QString& path, const QString& sql);

  // The column as UTF-8 text; a NULL column gives an empty string.
  static QString columnText(sqlite3_stmt* stmt, int column);

  QStringList m_sqls;      // SELECT statements, run in order against each file
  QStringList m_countSqls; // COUNT statements that size the progress step

protected:
  // Called once per result row; false stops reading the current statement (the
  // row is then not counted). Read the columns with SqlRow
  // (platform/common/sqlrow.h), in the order of the SELECT list.
  virtual bool onRow(sqlite3_stmt* stmt) = 0;

  // A subclass that must adapt to the schema at hand probes the open database
  // and returns the statement to run instead of the listed one; an empty string
  // (the default) keeps the listed statement.
  virtual QString customSql(sqlite3* db);

  CIProgressCallback* m_progress; // sink of the current run, not owned
  double m_step;                  // amount reported per row

private:
  CISQLiteQuery(const CISQLiteQuery&) = delete;
  CISQLiteQuery& operator=(const CISQLiteQuery&) = delete;
};
