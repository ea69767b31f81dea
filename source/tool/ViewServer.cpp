#include "tool/ViewServer.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <httplib.h>
#include <optional>
#include <pages/token.h>
#include <pages/view.h>
#include <random>
#include <semaphore>

#include "tool/Failure.h"
#include "tool/FileNames.h"
#include "tool/Interrupt.h"
#include "tool/Text.h"

namespace Kvex::Tool {

namespace {

using Json = nlohmann::ordered_json;
using httplib::Request;
using httplib::Response;

/// Requests at one time; further ones wait to be accepted.
constexpr std::size_t kThreads = 16;
/// Of these, such as read a file; further ones are turned away.
constexpr std::ptrdiff_t kMostReading = 8;
/// Nobody has anything to send.
constexpr std::size_t kLargestBody = 1024;

enum Status : int { kOk = 200, kBadRequest = 400, kForbidden = 403, kNotFound = 404, kNotAllowed = 405, kBusy = 503 };

/// 128 bits that nobody can guess.
std::string newToken() {
  std::random_device device;
  std::string token;
  for (int i = 0; i < 4; ++i) token += fmt::format("{:08x}", static_cast<std::uint32_t>(device()));
  return token;
}

/// Takes as long for a wrong text as for the right one.
bool same(std::string_view given, std::string_view token) {
  unsigned difference = given.size() == token.size() ? 0 : 1;
  for (std::size_t i = 0; i < token.size(); ++i) {
    difference |= static_cast<unsigned char>(token[i]) ^ static_cast<unsigned char>(i < given.size() ? given[i] : 0);
  }
  return difference == 0;
}

/// The policy that a page gives itself; as a header it can say a little more.
std::string policyOf(std::string_view page) {
  constexpr std::string_view kBegin = "http-equiv=\"Content-Security-Policy\" content=\"";
  const std::size_t begin = page.find(kBegin) + kBegin.size();
  return std::string(page.substr(begin, page.find('"', begin) - begin)) +
         "; base-uri 'none'; form-action 'none'; frame-ancestors 'none'";
}

void answer(Response& response, int status, std::string_view text, const char* type) {
  response.status = status;
  response.set_content(text.data(), text.size(), type);
}

void answerPage(Response& response, int status, std::string_view page) {
  response.set_header("Content-Security-Policy", policyOf(page));
  answer(response, status, page, "text/html; charset=utf-8");
}

void answerJson(Response& response, const Json& json) {
  answer(response, kOk, jsonText(json), "application/json");
}

void answerError(Response& response, int status, std::string_view reason) {
  answer(response, status, jsonText({{"error", reason}}), "application/json");
}

std::optional<double> numberOf(const Request& request, const char* name) {
  if (!request.has_param(name)) return {};
  const std::string text = request.get_param_value(name);
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
    throw Error(ErrorCode::InvalidArgument, fmt::format("\"{}\" is not a number", name));
  }
  return value;
}

ViewRequest viewOf(const Request& request) {
  ViewRequest view{.from = numberOf(request, "from"), .to = numberOf(request, "to")};
  for (std::size_t i = 0; i < request.get_param_value_count("signal"); ++i) {
    view.signals.push_back(request.get_param_value("signal", i));
  }
  const double slices = numberOf(request, "slices").value_or(static_cast<double>(view.slices));
  view.slices = slices >= 1 && slices <= ViewedFile::kMostSlices ? static_cast<std::size_t>(slices) : 0;
  return view;
}

}  // namespace

class ViewServer::Implementation {
 public:
  Implementation(std::vector<std::unique_ptr<ViewedFile>> files, int port)
      : files_(std::move(files)), token_(newToken()) {
    server_.new_task_queue = [] {
      const SignalsBlocked blocked;  // An interrupt goes to the thread that listens.
      return new httplib::ThreadPool(kThreads);
    };
    // What the library sets by default would let a second server have the same port.
    server_.set_socket_options([](socket_t socket) {
      const int yes = 1;
      ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    server_.set_payload_max_length(kLargestBody);
    server_.set_read_timeout(5);
    server_.set_write_timeout(10);
    server_.set_default_headers({{"Cache-Control", "no-store"},
                                 {"Cross-Origin-Resource-Policy", "same-origin"},
                                 {"Referrer-Policy", "no-referrer"},
                                 {"X-Content-Type-Options", "nosniff"}});
    route();
    port_ = port == 0 ? server_.bind_to_any_port(kHost) : port;
    if (port_ <= 0 || (port != 0 && !server_.bind_to_port(kHost, port))) {
      throw Failure(fmt::format("port {} cannot be used: {}", port, std::generic_category().message(errno)));
    }
  }

  int port() const { return port_; }
  std::string origin() const { return fmt::format("http://{}:{}", kHost, port_); }
  std::string address() const { return fmt::format("{}/?token={}", origin(), token_); }

  void run(const std::stop_token& stop) {
    const std::stop_callback ending(stop, [this] {
      ending_ = true;
      server_.stop();
    });
    // Before it listens a server cannot be told to stop.
    if (stop.stop_requested()) return;
    server_.listen_after_bind();
  }

 private:
  static constexpr const char* kHost = "127.0.0.1";

  void route() {
    server_.set_pre_routing_handler([this](const Request& request, Response& response) {
      const bool isAnswered = refuse(request, response);
      return isAnswered ? httplib::Server::HandlerResponse::Handled : httplib::Server::HandlerResponse::Unhandled;
    });
    server_.set_exception_handler([](const Request&, Response& response, const std::exception_ptr& failure) {
      try {
        std::rethrow_exception(failure);
      } catch (const Error& error) {
        const bool isUnknown = error.code() == ErrorCode::NoSuchSignal || error.code() == ErrorCode::NoSuchStream;
        answerError(response, isUnknown ? kNotFound : kBadRequest, error.reason());
      } catch (const std::exception& error) {
        answerError(response, kBadRequest, error.what());
      }
    });
    server_.Get("/", [this](const Request&, Response& response) {
      response.set_header("Set-Cookie", fmt::format("{}={}; Path=/; HttpOnly; SameSite=Strict", cookieName(), token_));
      answerPage(response, kOk, Pages::view());
    });
    server_.Get("/api/files", [this](const Request&, Response& response) {
      Json list = Json::array();
      for (const auto& file : files_) list.push_back(file->about());
      answerJson(response, list);
    });
    server_.Get(R"(/api/files/(\d{1,4})/(\w+))", [this](const Request& request, Response& response) {
      const auto number = static_cast<std::size_t>(std::stoul(request.matches[1]));
      if (number >= files_.size()) return answerError(response, kNotFound, "no such file");
      answerFile(*files_[number], request.matches[2], request, response);
    });
    server_.set_error_handler([](const Request&, Response& response) {
      if (response.body.empty()) answerError(response, response.status, "there is nothing here");
    });
  }

  std::string cookieName() const { return fmt::format("kvex-{}", port_); }

  /// Answers what nobody may ask. A page of elsewhere can make a browser ask, by a name that leads here too.
  bool refuse(const Request& request, Response& response) const {
    const std::string own = fmt::format("{}:{}", kHost, port_);
    const std::string local = fmt::format("localhost:{}", port_);
    const std::string host = request.get_header_value("Host");
    const bool isOwnHost = request.get_header_value_count("Host") == 1 && (host == own || host == local);
    const bool hasOrigin = request.has_header("Origin");
    if (!isOwnHost || (hasOrigin && request.get_header_value("Origin") != "http://" + host)) {
      answerError(response, kForbidden, "this server answers its own page only");
      return true;
    }
    if (request.method != "GET") {
      answerError(response, kNotAllowed, "there is nothing to be changed here");
      return true;
    }
    if (hasToken(request)) return false;
    answerPage(response, kForbidden, Pages::token());
    return true;
  }

  bool hasToken(const Request& request) const {
    if (request.path == "/" && same(request.get_param_value("token"), token_)) return true;
    const std::string cookies = "; " + request.get_header_value("Cookie");
    const std::string name = "; " + cookieName() + "=";
    const std::size_t at = cookies.find(name);
    if (at == std::string::npos) return false;
    const std::size_t begin = at + name.size();
    return same(std::string_view(cookies).substr(begin, cookies.find(';', begin) - begin), token_);
  }

  void answerFile(ViewedFile& file, const std::string& what, const Request& request, Response& response) {
    if (what == "signals") return answerJson(response, file.signals());
    if (what == "tracks") {
      return stream(response, "application/json",
                    [&file](const StillWanted& wanted, const ViewedFile::Emit& emit) { file.tracks(wanted, emit); });
    }
    const ViewRequest view = viewOf(request);
    if (what == "overview") {
      file.check(view);
      return stream(response, "application/x-ndjson",
                    [&file, view](const StillWanted& wanted, const ViewedFile::Emit& emit) {
                      file.overview(view, wanted, emit);
                    });
    }
    if (what == "samples") {
      file.checkOneStream(view);
      response.set_header("Content-Disposition",
                          fmt::format("attachment; filename=\"{}.csv\"", safeFileName(stemOf(file.path()), 80)));
      return stream(
          response, "text/csv; charset=utf-8",
          [&file, view](const StillWanted& wanted, const ViewedFile::Emit& emit) { file.samples(view, wanted, emit); });
    }
    answerError(response, kNotFound, "there is nothing here");
  }

  using Work = std::function<void(const StillWanted& wanted, const ViewedFile::Emit& emit)>;

  /// Sends what a reading emits as it comes. When whoever asked has gone away, the reading ends.
  void stream(Response& response, const char* type, Work work) {
    if (!reading_.try_acquire()) {
      response.set_header("Retry-After", "1");
      return answerError(response, kBusy, "too much is being read at a time");
    }
    const auto provide = [this, work = std::move(work)](std::size_t, httplib::DataSink& sink) {
      try {
        const StillWanted wanted = [&] { return !ending_ && sink.is_writable(); };
        work(wanted, [&](std::string_view text) {
          if (!sink.write(text.data(), text.size())) throw GivenUp();
        });
        sink.done();
        return true;
      } catch (const GivenUp&) {
      } catch (const std::exception&) {
        // The status is out; an answer that breaks off says that it is not whole.
      }
      return false;
    };
    response.set_chunked_content_provider(type, provide, [this](bool) { reading_.release(); });
  }

  std::vector<std::unique_ptr<ViewedFile>> files_;
  const std::string token_;
  int port_ = 0;
  std::atomic<bool> ending_ = false;
  std::counting_semaphore<kMostReading> reading_{kMostReading};
  httplib::Server server_;  ///< Last: its threads use all the rest.
};

ViewServer::ViewServer(std::vector<std::unique_ptr<ViewedFile>> files, int port)
    : implementation_(std::make_unique<Implementation>(std::move(files), port)) {}

ViewServer::~ViewServer() = default;

int ViewServer::port() const {
  return implementation_->port();
}

std::string ViewServer::address() const {
  return implementation_->address();
}

void ViewServer::run(const std::stop_token& stop) {
  implementation_->run(stop);
}

}  // namespace Kvex::Tool
