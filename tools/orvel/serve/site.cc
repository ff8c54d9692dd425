#include "tools/orvel/serve/site.h"

#include <atomic>
#include <fstream>
#include <stdexcept>

#include <httplib.h>

#include "orvel/find/collection_index.h"

#include "tools/orvel/command_support.h"
#include "tools/orvel/serve/document_view.h"
#include "tools/orvel/serve/result_lines.h"
#include "tools/orvel/serve/served_folders.h"
#include "tools/orvel/serve/site_pages.h"

namespace orvel::serve {
namespace {

namespace fs = std::filesystem;

// The site's own pages: its own script and style sheet, connections to itself, frames of
// itself (a feed's page), nothing from elsewhere.
constexpr const char* kPagePolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
    "connect-src 'self'; frame-src 'self'; base-uri 'none'; form-action 'self'; "
    "frame-ancestors 'none'";
// A file's own markup (a raw page, a feed's display page): in a sandbox of its own origin,
// no script at all, its inline styles and the site's images only.
constexpr const char* kFilePolicy =
    "sandbox; default-src 'none'; style-src 'unsafe-inline'; img-src 'self' data:; "
    "frame-ancestors 'self'";

// Requests answered at once; a slow client holds one of them until its time runs out.
constexpr std::size_t kRequestThreads = 32;
constexpr int kReadTimeoutSeconds = 5;
constexpr int kWriteTimeoutSeconds = 20;

// The content type of a raw file, by its name: what a browser can show, else plain text.
std::string rawContentType(const fs::path& file) {
  static const std::pair<const char*, const char*> kTypes[] = {
      {".html", "text/html; charset=utf-8"},
      {".htm", "text/html; charset=utf-8"},
      {".png", "image/png"},
      {".jpg", "image/jpeg"},
      {".jpeg", "image/jpeg"},
      {".gif", "image/gif"},
      {".svg", "image/svg+xml"},
      {".pdf", "application/pdf"},
      {".xml", "text/xml"},
      {".rss", "text/xml"},
      {".atom", "text/xml"},
  };
  std::string extension = file.extension().string();
  for (char& c : extension) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
  for (const auto& [name, type] : kTypes) {
    if (extension == name) return type;
  }
  return "text/plain; charset=utf-8";
}

// Sends a search's next lines; false when the client is gone, which ends the response and,
// with it, the search. The sink lives while the response is written: the search watches it
// until its last lines are sent.
bool sendLines(ResultLines& lines, std::size_t offset, httplib::DataSink& sink) {
  if (offset == 0) lines.watch([&sink] { return sink.is_writable(); });
  const std::optional<std::string> line = lines.next();
  if (line && sink.write(line->data(), line->size())) return true;
  lines.watch({});
  if (line) return false;  // the client is gone
  sink.done();
  return true;
}

void refuse(httplib::Response& response, int status, const std::string& why) {
  response.status = status;
  response.set_content(why + "\n", "text/plain; charset=utf-8");
}

}  // namespace

struct Site::State {
  explicit State(SiteOptions given) : options(std::move(given)), folders(options.folders) {}

  SiteOptions options;
  ServedFolders folders;
  Languages languages;
  httplib::Server server;
  int port = 0;

  // Whether the request may be answered; refuses it otherwise.
  bool admit(const httplib::Request& request, httplib::Response& response) const;
  [[nodiscard]] std::optional<fs::path> servedFile(const httplib::Request& request,
                                                   httplib::Response& response) const;
  void routes();
  void search(const httplib::Request& request, httplib::Response& response);
  void raw(const httplib::Request& request, httplib::Response& response) const;
  // The bound address as a Host header names it (an IPv6 one in brackets).
  [[nodiscard]] std::string boundHost() const {
    const std::string& host = options.bind;
    return host.find(':') != std::string::npos ? "[" + host + "]" : host;
  }
  // The selection of the index given or found, null without one.
  std::shared_ptr<const IndexSelection> indexFor(const SearchRequest& request) const;
};

bool Site::State::admit(const httplib::Request& request, httplib::Response& response) const {
  if (request.method != "GET" && request.method != "HEAD") {
    refuse(response, 405, "Only GET: nothing here changes anything");
    return false;
  }
  const std::string host = request.get_header_value("Host");
  const std::string portSuffix = ":" + std::to_string(port);
  bool known = false;
  for (const std::string& name :
       {boundHost(), std::string("localhost"), std::string("127.0.0.1"), std::string("[::1]")}) {
    known = known || host == name + portSuffix || host == name;
  }
  if (!known) {
    refuse(response, 403,
           "Host not allowed: this site answers only to " + boundHost() + portSuffix +
               " and localhost" + portSuffix);
    return false;
  }
  if (isSuspiciousTarget(request.target)) {
    refuse(response, 403, "Forbidden path");
    return false;
  }
  return true;
}

std::optional<fs::path> Site::State::servedFile(const httplib::Request& request,
                                                httplib::Response& response) const {
  std::optional<fs::path> file = folders.resolve(request.get_param_value("path"));
  if (!file) refuse(response, 403, "Not a file of the folders served");
  return file;
}

std::shared_ptr<const IndexSelection> Site::State::indexFor(const SearchRequest& request) const {
  const std::optional<fs::path> index =
      options.index ? options.index : findCollectionIndex(folders.folders().front());
  return index ? cli::selectIndexOrSay(*index, request) : nullptr;
}

void Site::State::search(const httplib::Request& request, httplib::Response& response) {
  PageQuery query;
  query.query = request.get_param_value("q");
  if (query.query.size() > kMaxQueryBytes) {
    refuse(response, 413, "Query longer than " + std::to_string(kMaxQueryBytes) + " bytes");
    return;
  }
  for (std::size_t k = 0; k < request.get_param_value_count("kind"); ++k) {
    if (const auto kind = documentKindNamed(request.get_param_value("kind", k))) {
      query.kinds.push_back(*kind);
    }
  }
  query.language = request.get_param_value("lang");
  query.comments = request.get_param_value("comments") == "1";
  SearchRequest searchRequest = pageSearchRequest(query, folders.folders(), languages);
  searchRequest.inputs.index = indexFor(searchRequest);
  const bool indexed = searchRequest.inputs.index != nullptr;
  auto lines = std::make_shared<ResultLines>(std::move(searchRequest), options.maxResults, indexed,
                                             languages);
  response.set_header("Cache-Control", "no-store");
  response.set_chunked_content_provider("application/x-ndjson; charset=utf-8",
                                        [lines](std::size_t offset, httplib::DataSink& sink) {
                                          return sendLines(*lines, offset, sink);
                                        });
}

void Site::State::raw(const httplib::Request& request, httplib::Response& response) const {
  const std::optional<fs::path> file = servedFile(request, response);
  if (!file) return;
  std::error_code error;
  if (!fs::is_regular_file(*file, error)) {
    refuse(response, 404, "Not a file");
    return;
  }
  const auto size = static_cast<std::size_t>(fs::file_size(*file, error));
  auto in = std::make_shared<std::ifstream>(*file, std::ios::binary);
  if (error || !*in) {
    refuse(response, 404, "The file cannot be read");
    return;
  }
  response.set_header("Content-Security-Policy", kFilePolicy);
  response.set_content_provider(
      size, rawContentType(*file),
      [in](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
        char buffer[64 * 1024];
        in->seekg(static_cast<std::streamoff>(offset));
        in->read(buffer, static_cast<std::streamsize>(std::min(length, sizeof buffer)));
        const auto got = static_cast<std::size_t>(in->gcount());
        return got > 0 && sink.write(buffer, got);
      });
}

void Site::State::routes() {
  server.set_pre_routing_handler(
      [this](const httplib::Request& request, httplib::Response& response) {
        return admit(request, response) ? httplib::Server::HandlerResponse::Unhandled
                                        : httplib::Server::HandlerResponse::Handled;
      });
  server.set_post_routing_handler([](const httplib::Request&, httplib::Response& response) {
    if (!response.has_header("Content-Security-Policy")) {
      response.set_header("Content-Security-Policy", kPagePolicy);
    }
    response.set_header("X-Content-Type-Options", "nosniff");
    response.set_header("Referrer-Policy", "no-referrer");
    response.set_header("Cross-Origin-Resource-Policy", "same-origin");
  });
  const auto asset = [](const char* name, const char* type) {
    return [name, type](const httplib::Request&, httplib::Response& response) {
      response.set_content(std::string(*pageAsset(name)), type);
    };
  };
  server.Get("/style.css", asset("style.css", "text/css; charset=utf-8"));
  server.Get("/app.js", asset("app.js", "text/javascript; charset=utf-8"));
  server.Get("/", [this](const httplib::Request&, httplib::Response& response) {
    std::string folders;
    for (const fs::path& folder : this->folders.folders()) {
      folders += "<li>" + escapeHtml(folder.string()) + "</li>";
    }
    std::string options;
    for (const std::string& code : languages.codes()) {
      options += "<option value=\"" + escapeHtml(code) + "\">" + escapeHtml(code) + "</option>";
    }
    std::string body(*pageAsset("search.html"));
    body.replace(body.find("<!--folders-->"), 14, folders);
    body.replace(body.find("<!--languages-->"), 16, options);
    response.set_content(
        pageHtml("Search", "search", "<a class=\"help\" href=\"/help\">Query language</a>", body),
        "text/html; charset=utf-8");
  });
  server.Get("/help", [](const httplib::Request&, httplib::Response& response) {
    response.set_content(
        pageHtml("Query language", "help", "<a class=\"back\" href=\"/\">Search</a>",
                 *pageAsset("help.html")),
        "text/html; charset=utf-8");
  });
  server.Get("/search", [this](const httplib::Request& request, httplib::Response& response) {
    search(request, response);
  });
  server.Get("/doc", [this](const httplib::Request& request, httplib::Response& response) {
    if (const auto file = servedFile(request, response)) {
      response.set_content(documentPage(*file, request.get_param_value("q"), languages),
                           "text/html; charset=utf-8");
    }
  });
  server.Get("/feed", [this](const httplib::Request& request, httplib::Response& response) {
    const std::optional<fs::path> file = servedFile(request, response);
    if (!file) return;
    const std::optional<std::string> page = feedDisplayPage(*file);
    if (!page) return refuse(response, 404, "Not a feed");
    response.set_header("Content-Security-Policy", kFilePolicy);
    response.set_content(*page, "text/html; charset=utf-8");
  });
  server.Get("/raw", [this](const httplib::Request& request, httplib::Response& response) {
    raw(request, response);
  });
}

Site::Site(SiteOptions options) : _state(std::make_unique<State>(std::move(options))) {
  _state->server.new_task_queue = [] { return new httplib::ThreadPool(kRequestThreads); };
  _state->server.set_read_timeout(kReadTimeoutSeconds);
  _state->server.set_write_timeout(kWriteTimeoutSeconds);
  _state->server.set_payload_max_length(64 * 1024);
  _state->routes();
}

Site::~Site() = default;

int Site::bind() {
  const SiteOptions& options = _state->options;
  _state->port =
      options.port == 0
          ? _state->server.bind_to_any_port(options.bind)
          : (_state->server.bind_to_port(options.bind, options.port) ? options.port : -1);
  if (_state->port < 0) {
    throw std::runtime_error(options.bind + ":" + std::to_string(options.port) +
                             ": cannot listen there");
  }
  return _state->port;
}

std::string Site::url() const {
  return "http://" + _state->boundHost() + ":" + std::to_string(_state->port) + "/";
}

void Site::serve() { _state->server.listen_after_bind(); }

void Site::stop() { _state->server.stop(); }

}  // namespace orvel::serve
