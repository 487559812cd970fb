#include "report/LoadCommand.h"

#include <unistd.h>

#include <array>
#include <memory>
#include <optional>
#include <ostream>
#include <utility>

#include "Common/SafeText.h"
#include "figures/Figures.h"
#include "figures/RunName.h"
#include "store/FleetDatabase.h"
#include "store/ResultDatabase.h"
#include "store/Spool.h"
#include "terminal/CommandOptions.h"

namespace agent::tools {

namespace {

std::optional<ResultDatabase> openDatabase(const std::string& path, std::ostream& err) {
  try {
    return std::optional<ResultDatabase>(path);
  } catch (const DatabaseError& error) {
    err << "scanreport: the database " << inQuotes(path) << " can't be used: " << error.what() << "\n";
    return std::nullopt;
  }
}

/// Loads a result.
/// @return what has become of it, for people
template <typename Database>
const char* loaded(Database& database, const std::string& host, const std::string& file) {
  const ResultFile result = wholeResult(file);
  const Figures figures = figuresOf(result);
  if (figures.filesystems.empty()) return "nothing to load, no file system was scanned";
  const LoadOutcome outcome = database.load({host, runNameOf(file), result.checksum}, figures);
  return outcome == LoadOutcome::LOADED ? "loaded" : "there already";
}

/// One run of sending.
class Sending {
 public:
  Sending(const ReportRequest& request, std::ostream& out, std::ostream& err)
      : connection_(request.postgres), out_(out), err_(err) {
    try {
      if (!request.spool.empty()) spool_.emplace(request.spool);
    } catch (const SpoolError& error) {
      spoolFails(error);
    }
  }

  /// Sends what waits, as long as the server takes it.
  void sendWaiting();
  void send(const std::string& file, const std::string& host);
  int status() const;

 private:
  const char* attempt(const std::string& file, const std::string& host);
  bool sendWaiting(const SpooledResult& waiting);
  void keep(const std::string& file, const std::string& host);
  void giveUp(const char* what, const std::exception& error);
  void spoolFails(const std::exception& error) {
    err_ << "scanreport: the spool: " << safeText(error.what()) << "\n";
    status_ = NOT_WHOLE;
  }
  void refused(const std::string& file, const std::string& reason) {
    err_ << "scanreport: " << inQuotes(file) << " isn't loaded: " << reason << "\n";
    status_ = NOT_WHOLE;
  }

  const std::string connection_;
  std::optional<Spool> spool_;
  std::ostream& out_;
  std::ostream& err_;
  std::unique_ptr<FleetDatabase> database_;
  bool isGivenUp_ = false;  // the server isn't asked any more
  int status_ = SHOWN;
};

/// Loads a result; connects when it is first needed.
/// @return what has become of it; null where the server can't be worked with, which is told once
/// @throws std::exception where the result is at fault
const char* Sending::attempt(const std::string& file, const std::string& host) {
  if (isGivenUp_) return nullptr;
  try {
    if (database_ == nullptr) database_ = openFleetDatabase(connection_);
    return loaded(*database_, host, file);
  } catch (const ServerAwayError& error) {
    giveUp(database_ == nullptr ? "the server is away: " : "the server has gone: ", error);
  } catch (const UnusableDatabaseError& error) {
    giveUp("the database can't be used: ", error);
    status_ = NOT_WHOLE;
  }
  return nullptr;
}

void Sending::giveUp(const char* what, const std::exception& error) {
  err_ << "scanreport: " << what << safeText(error.what()) << "\n";
  isGivenUp_ = true;
  database_.reset();
}

void Sending::sendWaiting() try {
  if (spool_) spool_->sendAll([this](const SpooledResult& waiting) { return sendWaiting(waiting); });
} catch (const std::exception& error) {  // which doesn't keep the server from what isn't in it
  spoolFails(error);
}

/// @return whether it needs to wait no longer
bool Sending::sendWaiting(const SpooledResult& waiting) {
  try {
    const char* const outcome = attempt(waiting.file, waiting.host);
    if (outcome != nullptr) out_ << safeText(waiting.file) << ": " << outcome << "\n";
    return outcome != nullptr;
  } catch (const std::runtime_error& error) {  // of this result: it must not stand in the way of others
    refused(waiting.file, safeText(error.what()) + "; it is kept as " + inQuotes(spool_->setAside(waiting)));
  }
  return false;
}

void Sending::send(const std::string& file, const std::string& host) {
  try {
    const char* const outcome = attempt(file, host);
    if (outcome == nullptr) return keep(file, host);
    out_ << safeText(file) << ": " << outcome << "\n";
  } catch (const std::exception& error) {
    refused(file, safeText(error.what()));
  }
}

void Sending::keep(const std::string& file, const std::string& host) {
  const ResultFile result = wholeResult(file);
  if (!spool_) return refused(file, "it can be sent again, or wait in a --spool");
  spool_->put(file, host, result.checksum);
  out_ << safeText(file) << ": waits in the spool\n";
}

int Sending::status() const {
  if (status_ != SHOWN) return status_;
  return spool_ && spool_->size() > 0 ? SPOOLED : SHOWN;
}

}  // namespace

std::string hostOf(const ReportRequest& request) {
  if (!request.host.empty()) return request.host;
  std::array<char, 256> name{};  // of HOST_NAME_MAX and its end, four times
  if (gethostname(name.data(), name.size() - 1) != 0) {
    throw ResultFileError("this host's name can't be had; --host gives one");
  }
  return name.data();
}

ResultFile wholeResult(const std::string& file) {
  ResultFile result = readResultFile(file, Checksum::SHA256);
  if (result.fault) throw ResultFileError("it is not whole: " + result.fault->text());
  return result;
}

int loadIntoFile(const ReportRequest& request, std::ostream& out, std::ostream& err) {
  const std::string host = hostOf(request);
  std::optional<ResultDatabase> database = openDatabase(request.sqlite, err);
  if (!database) return NOT_WHOLE;
  int status = SHOWN;
  for (const std::string& file : request.files) {
    try {
      const char* const outcome = loaded(*database, host, file);
      out << safeText(file) << ": " << outcome << "\n";
    } catch (const std::exception& error) {
      err << "scanreport: " << inQuotes(file) << " isn't loaded: " << error.what() << "\n";
      status = NOT_WHOLE;
    }
  }
  out.flush();
  return status;
}

int sendToServer(const ReportRequest& request, std::ostream& out, std::ostream& err) {
  if (const std::string reason = whyNoConnection(request.postgres); !reason.empty())
    throw UsageError("--postgres: " + safeText(reason));
  try {
    const std::string host = hostOf(request);
    Sending sending(request, out, err);
    sending.sendWaiting();
    for (const std::string& file : request.files) sending.send(file, host);
    out.flush();
    return sending.status();
  } catch (const std::runtime_error& error) {
    err << "scanreport: " << safeText(error.what()) << "\n";
    return NOT_WHOLE;
  }
}

}  // namespace agent::tools
