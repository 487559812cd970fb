#pragma once

#include <string>

namespace agent {

/// A host by name and address. The look-ups ask the system's resolver and wait as long as it takes.
class InetAddress {
 public:
  const std::string& getHostName() const { return hostName_; }
  void setHostName(std::string hostName) { hostName_ = std::move(hostName); }
  const std::string& getIpAddress() const { return ipAddress_; }
  void setIpAddress(std::string ipAddress) { ipAddress_ = std::move(ipAddress); }

  /// The host's address in numbers, of several the last in the resolver's order; a numeric host is its own.
  /// Empty for an empty or unknown host.
  static std::string getHostAddress(const std::string& host);

  /// True if the first of the host's addresses is an IPv6 one; false for an unknown host.
  static bool isIPv6(const std::string& host);

 private:
  std::string hostName_;
  std::string ipAddress_;
};

}  // namespace agent
