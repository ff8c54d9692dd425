// orvel serve over HTTP, as a browser or an attacker would speak to it: requests written
// byte for byte on a socket, so that nothing normalises a hostile path before the server
// sees it.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <nlohmann/json.hpp>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "orvel/base/utf8.h"
#include "orvel/testing/temp_dir.h"

#include "tools/orvel/cli_test_support.h"

extern char** environ;

namespace orvel {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

// A socket connected to the server's port.
class Connection {
 public:
  explicit Connection(int port) : _fd(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::connect(_fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }
  ~Connection() { ::close(_fd); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  void send(const std::string& bytes) const {
    ASSERT_EQ(::send(_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }
  // Up to `most` bytes, or everything until the server closes.
  [[nodiscard]] std::string receive(std::size_t most = SIZE_MAX) const {
    std::string bytes;
    char buffer[65536];
    for (ssize_t got; bytes.size() < most && (got = ::recv(_fd, buffer, sizeof buffer, 0)) > 0;) {
      bytes.append(buffer, static_cast<std::size_t>(got));
    }
    return bytes;
  }

 private:
  int _fd;
};

struct Answer {
  int status = 0;
  std::string head;
  std::string body;

  [[nodiscard]] std::string header(const std::string& name) const {
    const std::size_t at = head.find("\r\n" + name + ": ");
    if (at == std::string::npos) return {};
    const std::size_t start = at + name.size() + 4;
    return head.substr(start, head.find("\r\n", start) - start);
  }
};

// A chunked body joined.
std::string unchunked(std::string_view body) {
  std::string joined;
  for (std::size_t at = 0; at < body.size();) {
    const std::size_t end = body.find("\r\n", at);
    const std::size_t size = std::stoul(std::string(body.substr(at, end - at)), nullptr, 16);
    if (size == 0) break;
    joined += body.substr(end + 2, size);
    at = end + 2 + size + 2;
  }
  return joined;
}

Answer parse(const std::string& response) {
  Answer answer;
  const std::size_t end = response.find("\r\n\r\n");
  if (end == std::string::npos) return answer;
  answer.head = response.substr(0, end);
  answer.status = std::stoi(answer.head.substr(9, 3));
  answer.body = response.substr(end + 4);
  if (answer.header("Transfer-Encoding") == "chunked") answer.body = unchunked(answer.body);
  return answer;
}

// `orvel serve` on a free port, stopped by SIGTERM at the end, which it must exit 0 on.
class Server {
 public:
  explicit Server(std::vector<std::string> arguments) {
    int out[2];
    EXPECT_EQ(::pipe(out), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    arguments.insert(arguments.begin(), {ORVEL_PROGRAM, "serve", "--port", "0"});
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    EXPECT_EQ(::posix_spawn(&_pid, ORVEL_PROGRAM, &actions, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    ::close(out[1]);
    std::string line;
    char c = 0;
    while (::read(out[0], &c, 1) == 1 && c != '\n') line += c;
    ::close(out[0]);
    _url = line;
    const std::size_t colon = line.rfind(':');
    _port = colon == std::string::npos ? 0 : std::stoi(line.substr(colon + 1));
  }
  ~Server() {
    ::kill(_pid, SIGTERM);
    int status = 0;
    ::waitpid(_pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the server did not stop";
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  [[nodiscard]] int port() const { return _port; }
  [[nodiscard]] const std::string& url() const { return _url; }
  [[nodiscard]] std::string host() const { return "127.0.0.1:" + std::to_string(_port); }

  // A request of the method for the target, as written, with the Host header given.
  [[nodiscard]] Answer ask(const std::string& target, const std::string& host,
                           const std::string& method = "GET") const {
    const Connection connection(_port);
    connection.send(method + " " + target + " HTTP/1.1\r\nHost: " + host +
                    "\r\nConnection: close\r\n\r\n");
    return parse(connection.receive());
  }
  [[nodiscard]] Answer get(const std::string& target) const { return ask(target, host()); }

 private:
  pid_t _pid = 0;
  int _port = 0;
  std::string _url;
};

// The lines of a search's stream, parsed.
std::vector<Json> searchLines(const Server& server, const std::string& query) {
  const Answer answer = server.get("/search?q=" + query);
  EXPECT_EQ(answer.status, 200);
  std::vector<Json> lines;
  std::istringstream in(answer.body);
  for (std::string line; std::getline(in, line);) lines.push_back(Json::parse(line));
  return lines;
}

std::set<std::string> matchedPaths(const std::vector<Json>& lines) {
  std::set<std::string> paths;
  for (const Json& line : lines) {
    if (line["type"] == "match") paths.insert(line["path"].get<std::string>());
  }
  return paths;
}

class ServeTest : public ::testing::Test {
 protected:
  ServeTest() {
    served.writeFile("notes/harbour.txt", "The harbour master saw a ship.\n");
    outside.writeFile("secret.txt", "secret harbour\n");
    fs::create_symlink(outside.path() / "secret.txt", served.path() / "notes" / "out.txt");
    fs::create_symlink(served.path() / "notes" / "harbour.txt", served.path() / "in.txt");
    folder = fs::canonical(served.path()).string();
  }

  testing::TempDir served;
  testing::TempDir outside;
  std::string folder;
};

TEST_F(ServeTest, OnlyFilesBelowTheFoldersAreServed) {
  const Server server({folder});
  const std::string secret = fs::canonical(outside.path() / "secret.txt").string();
  EXPECT_EQ(server.get("/raw?path=" + folder + "/notes/harbour.txt").body,
            "The harbour master saw a ship.\n");
  EXPECT_EQ(server.get("/raw?path=" + folder + "/in.txt").status, 200);  // a link within
  const std::vector<std::string> refused = {
      "/raw?path=" + secret,
      "/raw?path=/etc/passwd",
      "/raw?path=" + folder + "/../" + fs::path(secret).parent_path().filename().string() +
          "/secret.txt",
      "/raw?path=" + folder + "/notes/out.txt",  // a link leading out
      "/doc?path=" + folder + "/notes/out.txt",
      "/feed?path=" + folder + "/notes/out.txt",
      "/raw?path=" + folder + "/notes/harbour.txt%00.png",
      "/raw?path=notes/harbour.txt",  // relative
      "/raw?path=" + folder + "%2F..%2F..%2Fetc%2Fpasswd",
      "/raw/..%2F..%2Fetc%2Fpasswd",
      "/raw%2f..?path=" + secret,
      "/../../etc/passwd",
      "/%2e%2e/etc/passwd",
      "/./raw?path=" + secret,
  };
  for (const std::string& target : refused) {
    const Answer answer = server.get(target);
    EXPECT_EQ(answer.status, 403) << target;
    EXPECT_EQ(answer.body.find("secret"), std::string::npos) << target;
  }
}

TEST_F(ServeTest, OnlyItsOwnNamesAndGetAreAnsweredAndNothingChangesOnDisk) {
  const Server server({folder});
  const std::string port = std::to_string(server.port());
  EXPECT_EQ(server.ask("/", "127.0.0.1:" + port).status, 200);
  EXPECT_EQ(server.ask("/", "localhost:" + port).status, 200);
  for (const std::string& host :
       std::vector<std::string>{"evil.example", "evil.example:" + port, "127.0.0.1:1",
                                "localhost.evil.example:" + port, std::string()}) {
    EXPECT_EQ(server.ask("/search?q=harbour", host).status, 403) << host;
  }
  const auto before = fs::last_write_time(served.path() / "notes" / "harbour.txt");
  for (const char* method : {"POST", "PUT", "DELETE", "PATCH"}) {
    EXPECT_EQ(
        server.ask("/raw?path=" + folder + "/notes/harbour.txt", server.host(), method).status, 405)
        << method;
  }
  std::vector<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(served.path())) {
    names.push_back(entry.path().string());
  }
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{(served.path() / "in.txt").string(),
                                             (served.path() / "notes").string(),
                                             (served.path() / "notes/harbour.txt").string(),
                                             (served.path() / "notes/out.txt").string()}));
  EXPECT_EQ(fs::last_write_time(served.path() / "notes" / "harbour.txt"), before);
}

TEST_F(ServeTest, PagesRunOnlyTheirOwnScriptAndAFeedRunsNothing) {
  served.writeFile("hostile.rss",
                   "<rss><channel><title>Evil</title><item><title>harbour "
                   "&lt;script&gt;alert(1)&lt;/script&gt;</title><link>javascript:alert(2)</link>"
                   "<description><![CDATA[<img src=x onerror=alert(3)><script>alert(4)</script>"
                   "]]></description></item></channel></rss>");
  const Server server({folder});
  const std::string policy = server.get("/").header("Content-Security-Policy");
  EXPECT_NE(policy.find("script-src 'self';"), std::string::npos) << policy;
  EXPECT_NE(policy.find("connect-src 'self';"), std::string::npos) << policy;
  EXPECT_EQ(policy.find("unsafe"), std::string::npos) << policy;

  const Answer view = server.get("/doc?path=" + folder + "/hostile.rss&q=harbour");
  EXPECT_EQ(view.status, 200);
  EXPECT_EQ(view.header("Content-Security-Policy"), policy);
  EXPECT_NE(view.body.find("<iframe class=\"feed\" sandbox src=\"/feed?path="), std::string::npos);
  // The only script is the site's own, the feed's text is shown as text.
  EXPECT_EQ(view.body.find("<script"), view.body.rfind("<script"));
  EXPECT_NE(view.body.find("<script src=\"/app.js\" defer>"), std::string::npos);
  EXPECT_EQ(view.body.find("<img"), std::string::npos);
  EXPECT_NE(view.body.find("<mark id=\"t0\">harbour</mark>"), std::string::npos);

  const Answer feed = server.get("/feed?path=" + folder + "/hostile.rss");
  EXPECT_EQ(feed.status, 200);
  EXPECT_EQ(feed.header("Content-Security-Policy").rfind("sandbox; default-src 'none';", 0), 0u);
  EXPECT_EQ(server.get("/feed?path=" + folder + "/notes/harbour.txt").status, 404);
  const Answer raw = server.get("/raw?path=" + folder + "/hostile.rss");
  EXPECT_EQ(raw.header("Content-Security-Policy"), feed.header("Content-Security-Policy"));
  EXPECT_EQ(raw.header("X-Content-Type-Options"), "nosniff");
}

TEST_F(ServeTest, ASearchOfThousandsOfFilesStreamsTheProgramsAnswer) {
  for (int k = 0; k < 2500; ++k) {
    served.writeFile("many/" + std::to_string(k % 10) + "/f" + std::to_string(k) + ".txt",
                     k % 7 == 0 ? "no match here\n" : "a harbour, line " + std::to_string(k));
  }
  const ProgramResult listed = orvel({"search", "-l", "--no-index", "harbour", folder});
  std::istringstream in(listed.out);
  std::set<std::string> expected;
  for (std::string line; std::getline(in, line);) expected.insert(line);
  ASSERT_GT(expected.size(), 2000u);

  const Server all({"--max-results", "100000", folder});
  const std::vector<Json> lines = searchLines(all, "harbour");
  EXPECT_EQ(matchedPaths(lines), expected);
  EXPECT_EQ(lines.back()["type"], "end");
  EXPECT_EQ(lines.back()["matched"], expected.size());
  EXPECT_EQ(lines.back()["truncated"], false);

  const Server few({"--max-results", "100", folder});
  const std::vector<Json> first = searchLines(few, "harbour");
  EXPECT_EQ(matchedPaths(first).size(), 100u);
  EXPECT_EQ(first.back()["truncated"], true);
  EXPECT_EQ(few.get("/search?q=" + std::string(3000, 'x')).status, 413);
}

TEST_F(ServeTest, LinesAreJsonWhateverTheTextAndTermsCountUtf16Units) {
  served.writeFile("odd \"name\" \\ \x01.txt",
                   "\x01 tab\there \xF0\x9F\x98\x80 caf\xC3\xA9 harbour \"quoted\" harbour\n");
  const Server server({folder});
  const std::vector<Json> lines = searchLines(server, "harbour%20OR%20caf%C3%A9");
  ASSERT_EQ(lines.size(), 3u);  // this file, notes/harbour.txt, the totals
  const Json& match =
      lines[0]["path"].get<std::string>().find("odd") != std::string::npos ? lines[0] : lines[1];
  EXPECT_EQ(match["path"], folder + "/odd \"name\" \\ \x01.txt");
  // Sliced by UTF-16 units, as the page's script slices them (the emoji is two).
  const std::u16string snippet =
      utf8ToUtf16Lenient(match["occurrences"][0]["snippet"].get<std::string>());
  std::vector<std::string> marked;
  for (const Json& term : match["occurrences"][0]["terms"]) {
    const std::size_t start = term[0], end = term[1];
    marked.push_back(utf16ToUtf8(snippet.substr(start, end - start)));
  }
  EXPECT_EQ(marked, (std::vector<std::string>{"caf\xC3\xA9", "harbour", "harbour"}));
}

// A text past the shown length is cut (not between a surrogate pair) and says so; its
// terms are marked up to the cut, and the list of occurrences leads to each mark.
TEST_F(ServeTest, ALongDocumentIsShownInPartAndSaysSo) {
  // Lines of 43 units after 3: unit 1,999,999, the last shown, is an emoji's first half.
  std::string text = "ab\n";
  while (text.size() < 2'500'000) {
    text += "A quay by the harbour, \xF0\x9F\x98\x80 then more words.\n";
  }
  served.writeFile("long.txt", text);
  const Server server({folder});
  const Answer view = server.get("/doc?path=" + folder + "/long.txt&q=harbour");
  EXPECT_EQ(view.status, 200);
  EXPECT_NE(view.body.find("A long text: its first "), std::string::npos);
  EXPECT_LT(view.body.size(), 4'000'000u);
  EXPECT_EQ(view.body.find("\xEF\xBF\xBD"), std::string::npos) << "a pair cut in two";
  EXPECT_NE(
      view.body.find("<li><a href=\"#t0\"><span class=\"line\">2</span>A quay by the harbour"),
      std::string::npos);
  EXPECT_NE(view.body.find("<mark id=\"t1999\">harbour</mark>"), std::string::npos);
  EXPECT_EQ(view.body.find("<mark id=\"t2000\">"), std::string::npos);
}

TEST_F(ServeTest, ClientsGoneOrSlowHoldNobodyUp) {
  for (int k = 0; k < 2000; ++k) {
    served.writeFile("many/f" + std::to_string(k) + ".txt", "harbour " + std::to_string(k));
  }
  const Server server({"--max-results", "100000", folder});
  {
    // Gone after the first bytes of a long answer.
    const Connection gone(server.port());
    gone.send("GET /search?q=harbour HTTP/1.1\r\nHost: " + server.host() + "\r\n\r\n");
    EXPECT_FALSE(gone.receive(100).empty());
  }
  // A request half sent holds one connection only.
  const Connection slow(server.port());
  slow.send("GET /search?q=harb");
  const auto start = std::chrono::steady_clock::now();
  const std::vector<Json> lines = searchLines(server, "harbour");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  EXPECT_EQ(lines.back()["matched"], 2001);  // and notes/harbour.txt
}

// --open runs the desktop's opener (here a stand-in first on PATH) with the address printed.
TEST_F(ServeTest, OpenHandsTheAddressToTheDesktop) {
  const testing::TempDir bin;
  const fs::path opened = bin.path() / "opened";
  const fs::path opener =
      bin.writeFile("xdg-open", "#!/bin/sh\nprintf '%s' \"$1\" > '" + opened.string() + "'\n");
  fs::permissions(opener, fs::perms::owner_exec, fs::perm_options::add);
  const std::string path = std::getenv("PATH");
  ::setenv("PATH", (bin.path().string() + ":" + path).c_str(), 1);
  {
    const Server server({"--open", folder});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    const auto written = [&opened] {
      std::error_code error;
      const std::uintmax_t size = fs::file_size(opened, error);
      return !error && size > 0;
    };
    while (!written() && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    std::ifstream in(opened);
    const std::string url((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(url, server.url());
  }
  ::setenv("PATH", path.c_str(), 1);
}

TEST(ServeCommandTest, AFolderThatIsNoneIsOneLine) {
  const ProgramResult missing = orvel({"serve", "/no/such/folder"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_EQ(missing.err, "orvel: /no/such/folder: No such file or directory\n");
  EXPECT_EQ(orvel({"serve", "--port", "99999", "/tmp"}).exitCode, 2);
}

}  // namespace
}  // namespace orvel
