#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "tool/ViewedFile.h"

namespace Kvex::Tool {

/// Shows files in a browser on this machine, and to nobody else:
///
/// - it listens on 127.0.0.1, and answers only requests that name it so and come from its own page;
/// - whoever asks must have the token that is part of `address`, which becomes a cookie of the browser;
/// - files are asked for by number, and nothing but these files can be read.
class ViewServer {
 public:
  /// Takes a port; 0 for any. Throws a `Failure` where it is taken.
  ViewServer(std::vector<std::unique_ptr<ViewedFile>> files, int port);
  ~ViewServer();
  ViewServer(const ViewServer&) = delete;
  ViewServer& operator=(const ViewServer&) = delete;

  int port() const;
  /// "http://127.0.0.1:PORT/?token=…"
  std::string address() const;
  /// Answers until a stop is requested; what is being read then is given up.
  void run(const std::stop_token& stop);

 private:
  class Implementation;

  std::unique_ptr<Implementation> implementation_;
};

}  // namespace Kvex::Tool
