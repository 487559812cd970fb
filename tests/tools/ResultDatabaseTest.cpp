#include "store/ResultDatabase.h"

#include <gmock/gmock.h>

#include <barrier>
#include <cstdlib>
#include <thread>

#include "support/TemporaryDirectory.h"
#include "tools/MadeResult.h"
#include "tools/Report.h"

namespace agent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// Rows with bars between their cells.
std::string answer(const std::string& database, const std::string& query) {
  const tools::SqliteDatabase opened(database, 0);
  tools::SqliteStatement statement = opened.statement(query);
  std::string text;
  while (statement.next()) {
    for (int i = 0; i < statement.columns(); ++i) text += (i > 0 ? "|" : "") + statement.text(i);
    text += "\n";
  }
  return text;
}

/// How many rows every table has.
std::string sizes(const std::string& database) {
  std::string text;
  for (const tools::ResultTable* table : tools::resultTables()) {
    text += answer(database, "SELECT '" + std::string(table->name) + "', count(*) FROM " + table->name);
  }
  return text;
}

/// The texts between two marks.
std::vector<std::string> blocks(const std::string& text, const std::string& begin, const std::string& end) {
  std::vector<std::string> found;
  for (size_t at = text.find(begin); at != std::string::npos; at = text.find(begin, at)) {
    at += begin.size();
    found.push_back(text.substr(at, text.find(end, at) - at));
  }
  return found;
}

class ResultDatabaseTest : public ::testing::Test {
 protected:
  Report load(const std::vector<std::string>& files, const std::string& host = "h") const {
    std::vector<std::string> arguments = {"--sqlite", database_, "--host", host};
    arguments.insert(arguments.end(), files.begin(), files.end());
    return Report(arguments);
  }

  const TemporaryDirectory directory_;
  const std::string database_ = directory_ / "history";
  const std::string result_ = madeResult("/one");
  const std::string seventh_ = directory_.file("daily.0001_scan.00000007.dat", result_);
};

TEST_F(ResultDatabaseTest, KeepsEachRunOnceAndNothingOfWhatIsNotWhole) {
  const std::string later =
      directory_.file("daily.0001_scan.00000008.dat", madeResult("/one", {{"{now}", "1795646453000"}}));
  const std::string cut = directory_.file("cut.dat", result_.substr(0, result_.size() - 14));
  const std::string none = "[Header]\n[AgentScan]\nasJobName\n[/Header]\n[AgentScan]\n[/AgentScan]\n";
  const Report first = load({cut, seventh_, later, directory_.file("none.dat", none)});
  EXPECT_EQ(first.status, 1);
  EXPECT_EQ(first.out, seventh_ + ": loaded\n" + later + ": loaded\n" + (directory_ / "none.dat") +
                           ": nothing to load, no file system was scanned\n");
  EXPECT_THAT(first.err, StartsWith("scanreport: \"" + cut + "\" isn't loaded: it is not whole: line "));
  const std::string once = sizes(database_);
  EXPECT_EQ(
      once,
      "run|2\nfilesystem|4\nstatistic|22\nmonitored_directory|4\nowner|6\nowning_group|6\nsize_class|96\n"
      "age|8\nage_class|80\ndirectory|6\nfile|16\nfile_type|2\n");

  const std::string sum = answer(database_, "SELECT checksum FROM run WHERE run_number = 7");
  EXPECT_EQ(
      std::system(("echo '" + sum.substr(0, 64) + "  " + seventh_ + "' | sha256sum --status -c").c_str()), 0);

  const Report again = load({seventh_, directory_.file("renamed.dat", result_)});
  EXPECT_EQ(again.status, 0);
  EXPECT_EQ(again.out, seventh_ + ": there already\n" + (directory_ / "renamed.dat") + ": there already\n");
  directory_.file("daily.0001_scan.00000007.dat", madeResult("/elsewhere"));
  EXPECT_THAT(load({seventh_}).err,
              HasSubstr("isn't loaded: this run is there already, with other content\n"));
  EXPECT_EQ(sizes(database_), once);

  EXPECT_EQ(load({later}, "other").status, 0);  // two hosts may find the same
  EXPECT_EQ(answer(database_, "SELECT host, job, schedule, run_number, run_time FROM run ORDER BY run_id"),
            "h|daily|1|7|1795560053\nh|daily|1|8|1795646453\nother|daily|1|8|1795646453\n");
  EXPECT_EQ(answer(database_, "PRAGMA foreign_key_check") + answer(database_, "PRAGMA integrity_check"),
            "ok\n");
  EXPECT_EQ(answer(database_, "DELETE FROM run"), "");
  EXPECT_THAT(sizes(database_),
              AllOf(Not(HasSubstr("|1")), HasSubstr("owner|0\n"), HasSubstr("file_type|0\n")));
}

TEST_F(ResultDatabaseTest, ALoadThatFailsHalfwayLeavesNothing) {
  ASSERT_EQ(load({seventh_}).status, 0);
  answer(database_, "CREATE TRIGGER late BEFORE INSERT ON file_type BEGIN SELECT raise(ABORT, 'full'); END");
  const std::string before = sizes(database_);
  const Report failed = load({seventh_}, "other");
  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(failed.err, "scanreport: \"" + seventh_ + "\" isn't loaded: full\n");
  EXPECT_EQ(sizes(database_), before);
}

TEST_F(ResultDatabaseTest, KeepsTheBytesOfAnyName) {
  const std::string hostile = "/\xFF'); DROP TABLE run;--\\\x1B\xE2\x80\xAE";
  const std::string host = "h\xFEost";
  ASSERT_EQ(load({directory_.file("j\xFD.0001_scan.00000001.dat", madeResult(hostile))}, host).status, 0);
  EXPECT_EQ(answer(database_, "SELECT mount_point, mount_point_bytes FROM filesystem ORDER BY 1"),
            "/\\xFF'); DROP TABLE run;--\\\\\\x1B\\xE2\\x80\\xAE/|" + hostile + "/\n/two/|\n");
  EXPECT_EQ(answer(database_, "SELECT coalesce(path_bytes, CAST(path AS BLOB)) FROM monitored_directory"),
            hostile + "/docs/inner\n" + hostile + "/docs\n");
  EXPECT_EQ(answer(database_, "SELECT host, host_bytes, job, job_bytes FROM run"),
            "h\\xFEost|" + host + "|j\\xFD|j\xFD\n");
}

TEST_F(ResultDatabaseTest, TheQueriesOfTheDocumentsAnswer) {
  const std::vector<std::string> queries = blocks(content(DOCUMENTS "/database.md"), "```sql\n", "```");
  std::vector<std::string> ofManual = blocks(content(DOCUMENTS "/man/scanreport.1"), ".EX\n", ".EE\n");
  for (std::string& query : ofManual) query = replaced(replaced(query, "\\-", "-"), "\\e", "\\");
  ASSERT_EQ(ofManual, queries);

  // A day later 54321 has a hundred blocks more, root as many as before, and there is somebody new.
  const std::string root = "[SUserOrGroup]\n\"1\",\"5\",\"5\",\"56\"";
  const std::string anna =
      "[SUserOrGroup]\n\"1\",\"5\",\"1\",\"4\",\"{now}\",\"0\",\"0\",\"0\",\"0\",\"0\",\"4\",\"0\",\"{now}\","
      "\"0\","
      "\"0\",\"0\",\"0\"\n[UserOrGroup]\n\"7\",\"0\",\"anna\",\"null\",\"-1\",\"N\",\"-1\",\"97\",\"1\","
      "\"1\"\n"
      "[/UserOrGroup]\n[/SUserOrGroup]\n";
  const std::string later = madeResult("/one", {{root, anna + root},
                                                {"\"1\",\"5\",\"2\",\"96\"", "\"1\",\"5\",\"2\",\"196\""},
                                                {"{now}", "1795646453000"},
                                                {"{fsUsedSpace}", "750"}});
  const std::string young = replaced(later, "\"1100000000000\"", "\"1795646000000\"");
  ASSERT_EQ(load({seventh_, directory_.file("daily.0001_scan.00000008.dat", young)}).status, 0);
  ASSERT_EQ(load({seventh_}, "single").status, 0);  // has no run to be compared with

  std::vector<std::string> answers;
  for (const std::string& query : queries) answers.push_back(answer(database_, query));
  const std::string name = "|NRVUser.SQL_NAME_SUMMARY_FILESYS|";
  EXPECT_THAT(
      answers,
      ElementsAre("h|daily|/one/" + name + "54321|51200\nh|daily|/one/" + name + "anna|2048\n" +
                      "h|daily|/one/" + name + "root|0\nh|daily|/two/" + name + "root|0\n",
                  "h|/one/docs/to.zip|root|0|11523\nsingle|/one/docs/to.zip|root|0|11522\n"
                  "h|/one/docs/a.txt|54321|4096|9208\nh|/one/docs/quote\"d, list.TXT|root|16384|9208\n"
                  "h|/one/two lines|root|12288|9208\nsingle|/one/docs/a.txt|54321|4096|9207\n"
                  "single|/one/docs/quote\"d, list.TXT|root|16384|9207\n"
                  "single|/one/two lines|root|12288|9207\nsingle|/one/docs/inner/b.txt|54321|45056|8050\n",
                  "h|54321|2|100352\nsingle|54321|2|49152\n",
                  "h|/one/|2026-11-25 22:40:53|75.0\nh|/one/|2026-11-24 22:40:53|60.0\n"
                  "single|/one/|2026-11-24 22:40:53|60.0\n"));
}

TEST_F(ResultDatabaseTest, WhatIsNoDatabaseOfOursIsToldAndStaysAsItIs) {
  const std::string newer = directory_ / "newer", theirs = directory_ / "theirs";
  Report({"--sqlite", newer, seventh_});
  answer(newer, "PRAGMA user_version = 99");
  answer(theirs, "CREATE TABLE run (id)");
  for (const auto& [path, reason] : std::vector<std::pair<std::string, std::string>>{
           {seventh_, "file is not a database"},
           {directory_ / "none/db", "unable to open database file: No such file or directory"},
           {theirs, "it is another program's"},
           {newer, "it has version 99 of the schema, and this scanreport knows those up to 1"}}) {
    const std::string before = content(path);
    const Report refused({"--sqlite", path, seventh_});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err, "scanreport: the database \"" + path + "\" can't be used: " + reason + "\n");
    EXPECT_EQ(content(path), before);
  }
}

TEST_F(ResultDatabaseTest, AnOlderSchemaGetsWhatItLacks) {
  ASSERT_EQ(load({seventh_}).status, 0);
  tools::ResultTable changed = *tools::resultTableNamed("file_type");
  changed.columns.push_back({.name = "owner", .kind = tools::ColumnKind::NAME, .meaning = "", .since = 2});
  tools::ResultTable added = *tools::resultTableNamed("age");
  added.name = "new_age";
  added.since = 3;
  const std::vector<const tools::ResultTable*> tables = {&changed, &added};
  EXPECT_EQ(tools::upgradeSchema(tools::SqliteDatabase(database_, 0), tables, 1), 3);
  EXPECT_EQ(answer(database_, "SELECT extension, owner, owner_bytes FROM file_type"), ".txt||\n");
  EXPECT_EQ(answer(database_, "SELECT count(*) FROM new_age") + answer(database_, "PRAGMA user_version"),
            "0\n3\n");
}

TEST_F(ResultDatabaseTest, SeveralMayMakeAndLoadItAtOnce) {
  constexpr int ROUNDS = 10;
  std::vector<std::thread> loaders;
  std::vector<int> failures(4, 0);
  std::barrier start(std::ssize(failures));
  for (int& failed : failures) {
    loaders.emplace_back([&] {
      start.arrive_and_wait();
      for (int i = 0; i < ROUNDS; ++i) failed += load({seventh_}, "host" + std::to_string(i)).status;
    });
  }
  for (std::thread& loader : loaders) loader.join();
  EXPECT_THAT(failures, ::testing::Each(0));
  EXPECT_THAT(sizes(database_), StartsWith("run|10\nfilesystem|20\n"));
}

}  // namespace
}  // namespace agent::test
