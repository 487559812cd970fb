#include "Common/VOXCommon/InetAddress.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <memory>

#include "QLMlib/common/ut/Trace.h"

namespace agent {

namespace {

using AddressList = std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)>;

/// The host's addresses in the resolver's order. @param result what getaddrinfo(3) answered
AddressList resolve(const std::string& host, int& result) {
  addrinfo hints = {};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_protocol = IPPROTO_TCP;
  addrinfo* list = nullptr;
  result = ::getaddrinfo(host.c_str(), nullptr, &hints, &list);
  return {result == 0 ? list : nullptr, ::freeaddrinfo};
}

void traceFamily(int family) {
  switch (family) {
    case AF_INET:
      TRACE(TR_MID, ">> Address family: Internet IP Protocol.\n");
      break;
    case AF_INET6:
      TRACE(TR_MID, ">> Address family: IP version 6.\n");
      break;
    case AF_UNSPEC:
      TRACE(TR_MID, ">> Address family: Not specified.\n");
      break;
    default:
      TRACE(TR_MID, ">> Address family: other.\n");
  }
}

}  // namespace

std::string InetAddress::getHostAddress(const std::string& host) {
  if (host.empty()) {
    TRACE(TR_MID, "Specified hostname (pHost) is empty.\n");
    return {};
  }
  int result = 0;
  const AddressList addresses = resolve(host, result);
  if (!addresses) {
    TRACE(TR_MID, "getaddrinfo() failed.\n");
    TRACE(TR_MID, "%s\n", ::gai_strerror(result));
    return {};
  }
  std::string hostIP;
  for (const addrinfo* address = addresses.get(); address != nullptr; address = address->ai_next) {
    traceFamily(address->ai_family);
    char text[NI_MAXHOST];
    result = ::getnameinfo(address->ai_addr, address->ai_addrlen, text, sizeof text, nullptr, 0,
                           NI_NUMERICHOST | NI_NUMERICSERV);
    if (result == 0) {
      hostIP = text;  // the last one that converts wins
    } else {
      TRACE(TR_MID, "getnameinfo() failed.\n");
      TRACE(TR_MID, "%s\n", ::gai_strerror(result));
    }
  }
  TRACE(TR_EXIT, "Exit: %s, hostIP: %s\n", "InetAddress::getHostAddress()", hostIP.c_str());
  return hostIP;
}

bool InetAddress::isIPv6(const std::string& host) {
  int result = 0;
  const AddressList addresses = resolve(host, result);
  if (!addresses) {
    TRACE(TR_MAX, "Could not get address information for host %s; rc = %d\n", host.c_str(), result);
    return false;
  }
  return addresses->ai_family == AF_INET6;
}

}  // namespace agent
