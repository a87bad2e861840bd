#include "cli/batch_links.h"

#include <csignal>
#include <cstdlib>
#include <map>

#include "cli/batch.h"
#include "cli/batch_host.h"
#include "core/error_table.h"
#include "core/platform/platform.h"
#include "hardware/handshake.h"
#include "hardware/link_socket.h"
#include "image/kernel/numbers.h"

namespace sv::cli {

namespace {

int BadCommandLine(std::ostream& err, const std::string& why) {
  err << "svbatch: " << why << "\n" << Usage();
  return 2;
}

bool ParseCount(const std::string& text, long& value, long least) {
  char* end = nullptr;
  const long v = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || v < least) return false;
  value = v;
  return true;
}

// Messages go to the error stream; a "Try again?" is answered Cancel, since
// nobody is there to retry. Ctrl-C reaches the waits as the stop command.
class LinkHost : public BatchHost {
 public:
  explicit LinkHost(std::ostream& err) : BatchHost(err) {}
  MsgResult MsgBox(const std::string& text, MsgButtons buttons, MsgIcon icon,
                   const std::string& title) override {
    const MsgResult r = BatchHost::MsgBox(text, buttons, icon, title);
    return buttons == MsgButtons::RetryCancel ? MsgResult::Cancel : r;
  }
  void DoEvents() override {
    if (stopCode && *stopCode == 0 && StopRequested()) *stopCode = kErrExperimentCanceled;
  }
  long* stopCode = nullptr;
};

extern "C" void OnTerminate(int) { RequestStop(); }

void InstallTerminateHandler() {
  struct sigaction sa {};
  sa.sa_handler = OnTerminate;
  sigemptyset(&sa.sa_mask);
  sigaction(SIGTERM, &sa, nullptr);
}

// One advised item and the values it pushes in turn.
struct AdviseSource {
  std::string item;
  std::vector<std::string> values;
  size_t next = 0;
  bool advised = false;
};

std::vector<std::string> SplitCommas(const std::string& text) {
  std::vector<std::string> parts;
  size_t from = 0;
  for (;;) {
    const size_t comma = text.find(',', from);
    parts.push_back(text.substr(from, comma - from));
    if (comma == std::string::npos) return parts;
    from = comma + 1;
  }
}

}  // namespace

std::string LinksUsage() {
  return "  handshake-send --folder DIR --file DATAFILE [--timeout MS] ROW...\n"
         "              sends rows through the file handshake as a run does: waits\n"
         "              for RDY in DIR, names DATAFILE in EXP, and for each ROW\n"
         "              (cells separated by tabs) writes DATAFILE, raises DAV and\n"
         "              waits for RDY to fall; waits take 10000 ms (--timeout MS);\n"
         "              prints \"RDY TimeOut\" and exits 1 when the receiver is silent\n"
         "  link-serve TOPIC [--item NAME=VALUE]... [--advise NAME=V1,V2,...]...\n"
         "             [--interval MS] [--count N]\n"
         "              serves TOPIC (\"Excel|Tabelle1\", \"Bench|Control\") on the local\n"
         "              link socket of its service; prints \"ready\", then\n"
         "              \"REQUEST item\" or \"POKE item value\" a message (tabs as \\t);\n"
         "              answers requests from --item and from earlier pokes; pushes\n"
         "              the --advise values in turn, one every MS (1000); ends after\n"
         "              N pokes, or on Ctrl-C or SIGTERM\n";
}

int HandshakeSendCommand(const std::vector<std::string>& args, std::ostream& out,
                         std::ostream& err) {
  std::string folder, file;
  long timeout = 10000;
  bool haveFolder = false;
  std::vector<std::string> rows;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--folder" || a == "--file" || a == "--timeout") {
      if (i + 1 >= args.size()) return BadCommandLine(err, a + " needs a value");
      const std::string& v = args[++i];
      if (a == "--folder") {
        folder = v;
        haveFolder = true;
      } else if (a == "--file") {
        file = v;
      } else if (!ParseCount(v, timeout, 1)) {
        return BadCommandLine(err, "--timeout takes a number of milliseconds");
      }
    } else if (a.rfind("--", 0) == 0) {
      return BadCommandLine(err, "unknown option " + a);
    } else {
      rows.push_back(a);
    }
  }
  if (!haveFolder || folder.empty()) return BadCommandLine(err, "handshake-send needs --folder DIR");
  if (file.empty()) return BadCommandLine(err, "handshake-send needs --file DATAFILE");

  LinkHost h(err);
  HostScope scope(&h);
  ClearStopRequest();
  InstallStopHandler();
  HandShakeTX tx;
  const uint32_t wait = static_cast<uint32_t>(timeout);
  if (!HandshakeRunStart(tx, folder, file, wait < 2000 ? wait : 2000)) return 1;
  long stopCode = 0;
  h.stopCode = &stopCode;
  size_t sent = 0;
  for (const std::string& row : rows) {
    if (!HandshakeRow(tx, row, stopCode, wait)) break;
    ++sent;
  }
  HandshakeRunEnd(tx);
  h.stopCode = nullptr;
  if (stopCode != 0) {
    err << ErrorText(static_cast<int>(stopCode)) << "\n";
    return 1;
  }
  out << sent << " rows sent\n";
  return 0;
}

int LinkServeCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  std::string topic;
  std::map<std::string, std::string> items;
  std::vector<AdviseSource> advise;
  long interval = 1000, count = -1;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--item" || a == "--advise" || a == "--interval" || a == "--count") {
      if (i + 1 >= args.size()) return BadCommandLine(err, a + " needs a value");
      const std::string& v = args[++i];
      const size_t eq = v.find('=');
      if (a == "--item") {
        if (eq == 0 || eq == std::string::npos) return BadCommandLine(err, "--item takes NAME=VALUE");
        items[v.substr(0, eq)] = v.substr(eq + 1);
      } else if (a == "--advise") {
        if (eq == 0 || eq == std::string::npos)
          return BadCommandLine(err, "--advise takes NAME=V1,V2,...");
        advise.push_back({v.substr(0, eq), SplitCommas(v.substr(eq + 1))});
      } else if (a == "--interval") {
        if (!ParseCount(v, interval, 1)) return BadCommandLine(err, "--interval takes milliseconds");
      } else if (!ParseCount(v, count, 1)) {
        return BadCommandLine(err, "--count takes a number of pokes from 1");
      }
    } else if (a.rfind("--", 0) == 0) {
      return BadCommandLine(err, "unknown option " + a);
    } else if (topic.empty()) {
      topic = a;
    } else {
      return BadCommandLine(err, "link-serve takes one TOPIC");
    }
  }
  if (topic.empty()) return BadCommandLine(err, "link-serve needs a TOPIC");

  BatchHost h(err);
  HostScope scope(&h);
  ClearStopRequest();
  InstallStopHandler();
  InstallTerminateHandler();

  LinkServer server;
  std::string error;
  if (!server.Listen(LinkService(topic), error)) {
    err << "svbatch: " << error << "\n";
    return 1;
  }
  const bool anyTopic = topic.find('|') == std::string::npos;
  long pokes = 0;
  server.OnConnect = [&](const std::string& asked, std::string& why) {
    if (asked == topic || (anyTopic && LinkService(asked) == topic)) return true;
    why = "unknown topic " + asked;
    return false;
  };
  server.OnRequest = [&](const std::string& item, std::string& value, std::string& why) {
    out << "REQUEST " << LinkEscape(item, true) << std::endl;
    auto it = items.find(item);
    if (it == items.end()) {
      why = "no item " + item;
      return false;
    }
    value = it->second;
    return true;
  };
  server.OnPoke = [&](const std::string& item, const std::string& value, std::string&) {
    out << "POKE " << LinkEscape(item, false) << ' ' << LinkEscape(value, true) << std::endl;
    items[item] = value;
    ++pokes;
    return true;
  };
  server.OnAdvise = [&](const std::string& item, std::string&) {
    for (auto& s : advise)
      if (s.item == item) s.advised = true;
    return true;
  };

  out << "ready" << std::endl;
  uint32_t due = SV_AddTime(platform::MonotonicMilliseconds(), static_cast<int32_t>(interval));
  while (!StopRequested() && (count < 0 || pokes < count)) {
    server.Poll(20);
    if (SV_SubTime(platform::MonotonicMilliseconds(), due) < 0) continue;
    due = SV_AddTime(due, static_cast<int32_t>(interval));
    for (auto& s : advise) {
      if (!s.advised || s.values.empty()) continue;
      server.Publish(s.item, s.values[s.next]);
      s.next = (s.next + 1) % s.values.size();
    }
  }
  server.Close();
  ClearStopRequest();
  return 0;
}

}  // namespace sv::cli
