#include "Probe/MountsMap.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>
#include <utility>

#include "Common/JobMessages.h"
#include "Common/LogManager.h"
#include "Common/VOXCommon/InetAddress.h"
#include "Probe/Filesystem.h"
#include "Probe/NasFiler.h"
#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

constexpr std::string_view BLANKS = " \t\n\r\f\v";

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
  return text;
}

std::string removeSurroundingWhitespaces(std::string_view text) {
  const size_t start = text.find_first_not_of(BLANKS);
  if (start == std::string_view::npos) return {};
  return std::string(text.substr(start, text.find_last_not_of(BLANKS) + 1 - start));
}

/// Host and rest (from ":/" on) of an NFS source.
struct NfsSource {
  std::string host;
  std::string rest;
};

std::optional<NfsSource> parseNfsSource(const std::string& source) {
  const size_t separator = source.find(":/");
  if (separator == std::string::npos || separator == 0) return std::nullopt;
  return NfsSource{lowerCase(source.substr(0, separator)), source.substr(separator)};
}

/// The host's numeric address as an NFS source would spell it, in brackets for IPv6; empty when unknown.
std::string addressOf(const std::string& host) {
  std::string address = lowerCase(removeSurroundingWhitespaces(InetAddress::getHostAddress(host)));
  if (!address.empty() && !address.starts_with('[') && InetAddress::isIPv6(host)) {
    address = "[" + address + "]";
  }
  return address;
}

/// Puts the entries of an open table into the map.
/// @return false when an NFS source couldn't be parsed, or the table not be read to its end
bool handleMounts(MountsMap& map, Mounts& mounts, bool aliases) {
  TRACE_SCOPE("handleMounts(...)");
  bool allParsed = true;
  MountsMap byAddress;
  std::unordered_map<std::string, std::string> addresses;  // each host is asked for once
  while (mounts.nextMount()) {
    if (mounts.fsType.starts_with("clfs")) {
      map.try_emplace(mounts.filesystem, mounts.entry());
      continue;
    }
    if (!mounts.fsType.starts_with("nfs")) {
      map.try_emplace(mounts.mntPt, mounts.entry());
      continue;
    }
    const std::optional<NfsSource> source = parseNfsSource(mounts.filesystem);
    if (!source) {
      logJobMessage(messages::NETWORK_SOURCE_ODD, {mounts.filesystem});
      TRACE(TR_MIN, ">> Import could not be parsed: %s\n", mounts.filesystem.c_str());
      allParsed = false;
      continue;
    }
    if (aliases) {
      const auto [address, isNew] = addresses.try_emplace(source->host);
      if (isNew) address->second = addressOf(source->host);
      if (!address->second.empty() && address->second != source->host) {
        byAddress.try_emplace(address->second + source->rest, mounts.entry());
      }
    }
    map.try_emplace(source->host + source->rest, mounts.entry());
  }
  for (auto& [key, entry] : byAddress) map.try_emplace(key, std::move(entry));
  return allParsed && !mounts.readFailed();
}

}  // namespace

int makeMountsMap(MountsMap& map, bool aliases, Mounts& mounts) {
  TRACE_SCOPE("makeMountsMap()");
  map.clear();
  if (!mounts.openMnttab()) {
    TRACE(TR_MIN, "failed to open mount tab <open Mnttab()>.\n");
    TRACE(TR_MIN, "handleMounts(...) returned false\n");
    return 4;
  }
  if (!handleMounts(map, mounts, aliases)) {
    TRACE(TR_MIN, "handleMounts(...) returned false\n");
    return 4;
  }
  return 0;
}

std::vector<std::string> candidateKeys(const Filesystem& filesystem) {
  const std::string& mountPoint = filesystem.fsMountPoint;
  const NasFiler* filer = filesystem.filer.get();
  if (filer == nullptr) return {mountPoint};

  std::vector<std::string> keys;
  if (filer->nfOSType == NasFiler::OS_TYPE_CLUSTER) {
    keys.push_back(filer->nfName);
    if (!filer->nfNetworkName.empty() && mountPoint == "/vol/vol0") {
      keys.push_back(lowerCase(filer->nfNetworkName) + ":/");
    }
    return keys;
  }

  std::vector<std::string> hosts;
  for (const std::string* name : {&filer->nfNetworkName, &filer->nfName, &filer->nfIPAddress}) {
    std::string host = lowerCase(removeSurroundingWhitespaces(*name));
    if (!host.empty()) hosts.push_back(std::move(host));
  }
  if (!filer->nfIPAddress.empty()) {
    const std::string given = lowerCase(removeSurroundingWhitespaces(filer->nfIPAddress));
    std::string address = lowerCase(InetAddress::getHostAddress(given));
    const bool differs = address != given;
    // A text that has brackets already gets a second pair: servers have come to rely on it.
    if (address.starts_with('[')) address.insert(0, "[").append("]");
    if (!address.empty() && differs) hosts.push_back(std::move(address));
  }
  for (const std::string& host : hosts) {
    keys.emplace_back(host).append(":").append(mountPoint);
    // A filer's root volume is exported as "/".
    if (mountPoint == "vol/vol0") keys.push_back(host + ":/");
  }
  return keys;
}

}  // namespace agent
