// What it costs kestrix-sim to decide the packets of a capture, as a ratio to libpcap reading it and doing nothing, in
// CPU time, beside the limits. Usage: kestrix_captures [MEGABYTES] (1000 by default; as much is written to a temporary
// file, twice).
#include <pcap/pcap.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "command/CaptureCommand.h"
#include "command/CommandLine.h"

namespace {

constexpr unsigned kRules = 23, kFlows = 100'000, kBusyFlows = 1000;

constexpr char kDevice[] =
    R"({"inRules": 24, "outRules": 24, "interfaces": [{"name": "p", "core": 1, "portGroup": 1}]})";

// Rules for networks and hosts in 10.0.0.0/8, half of them with a port, and the rest is permitted.
std::string configurationText(std::mt19937& random) {
  std::string aces;
  for (unsigned i = 0; i < kRules; ++i) {
    const std::string port =
        i % 2 == 0 ? "" : fmt::format(R"(, "tcp": {{"destination-port": {{"operator": "eq", "port": {}}}}})", 440 + i);
    aces += fmt::format(R"({{"name": "r{}", "matches": {{"ipv4": {{"destination-ipv4-network": "10.{}.0.0/{}"}}{}}},
        "actions": {{"forwarding": "{}"}}}},)",
                        i, random() % 256, i % 3 == 0 ? 32 : 16, port, random() % 2 == 0 ? "accept" : "drop");
  }
  return fmt::format(R"({{"ietf-access-control-list:acls": {{"acl": [{{"name": "a", "type": "ipv4-acl-type",
      "aces": {{"ace": [{}{{"name": "rest", "matches": {{}}, "actions": {{"forwarding": "accept"}}}}]}}}}],
      "attachment-points": {{"interface": [{{"interface-id": "p", "ingress": {{"acl-sets": {{"acl-set":
      [{{"name": "a"}}]}}}}}}]}}}}}})",
                     aces);
}

using Frame = std::array<uint8_t, 1514>;

// An IPv4 packet of a flow that is drawn, one of a few busy ones every other time, and of this many bytes.
void draw(Frame& frame, size_t size, const std::vector<std::array<uint32_t, 3>>& flows, std::mt19937& random) {
  const auto& [from, to, ports] = flows[random() % (random() % 2 == 0 ? kFlows : kBusyFlows)];
  const auto put = [&](size_t at, uint32_t value, unsigned bytes) {
    for (unsigned i = 0; i < bytes; ++i) frame[at + i] = static_cast<uint8_t>(value >> (8 * (bytes - 1 - i)));
  };
  put(12, 0x08004500, 4);
  put(16, static_cast<uint32_t>(size - 14), 2);
  put(23, from % 3 == 0 ? 17 : 6, 1);
  put(26, from, 4);
  put(30, to, 4);
  put(34, ports, 4);
}

void writeCapture(const std::string& name, uint64_t bytes, bool isSmall) {
  std::mt19937 random(2);
  std::vector<std::array<uint32_t, 3>> flows(kFlows);
  for (auto& [from, to, ports] : flows) {
    from = static_cast<uint32_t>(random());
    to = 10U << 24 | (random() % 256) << 16 | (random() % 4);
    ports = static_cast<uint32_t>(random() % 65536) << 16 | static_cast<uint32_t>(440 + random() % 30);
  }
  pcap_t* const capture = pcap_open_dead(DLT_EN10MB, 65535);
  pcap_dumper_t* const file = pcap_dump_open(capture, name.c_str());
  if (file == nullptr) std::exit(3);
  Frame frame{};
  constexpr std::array<uint32_t, 7> kSizes{64, 64, 64, 128, 576, 1514, 1514};
  for (uint64_t written = 0; written < bytes;) {
    const uint32_t size = isSmall ? 64 : kSizes[random() % kSizes.size()];
    draw(frame, size, flows, random);
    const pcap_pkthdr header{{}, size, size};
    pcap_dump(reinterpret_cast<u_char*>(file), &header, frame.data());
    written += size + 16;
  }
  pcap_dump_close(file);
  pcap_close(capture);
}

// In seconds of CPU time.
double costOf(const auto& work) {
  const std::clock_t before = std::clock();
  work();
  return static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
}

uint64_t readAlone(const std::string& name) {
  std::array<char, PCAP_ERRBUF_SIZE> why{};
  pcap_t* const capture = pcap_open_offline(name.c_str(), why.data());
  pcap_pkthdr* header = nullptr;
  const u_char* bytes = nullptr;
  uint64_t packets = 0;
  while (pcap_next_ex(capture, &header, &bytes) == 1) ++packets;
  pcap_close(capture);
  return packets;
}

bool isKept = true;
void print(const std::string& what, double figure, double limit, const char* unit) {
  isKept = isKept && figure <= limit;
  fmt::print("{:<80} {:>7.2f}{}  at most {}{}\n", what, figure, unit, limit, figure <= limit ? "" : "  NOT KEPT");
}

void measure(const std::string& what, uint64_t bytes, bool isSmall, const std::string& configuration) {
  const std::string name = std::filesystem::temp_directory_path() / fmt::format("kestrix-captures-{}.pcap", ::getpid());
  writeCapture(name, bytes, isSmall);
  const Sim::CommandLine line{
      .deviceFile = "d",
      .configFiles = {"c"},
      .packet = Sim::PacketOptions{.interface = "p", .direction = "ingress", .captureFile = name}};
  const auto open = [](const std::string& file) { return Sim::openCapture(file, -1); };
  Sim::Progress none;
  double alone = 1e9, all = 1e9;
  uint64_t packets = 0;
  for (int round = 0; round < 3; ++round) {
    alone = std::min(alone, costOf([&] { packets = readAlone(name); }));
    all = std::min(all, costOf([&] { Sim::runCapture(line, {kDevice}, {{configuration}}, open, {}, none); }));
  }
  std::filesystem::remove(name);
  const auto each = [&](double seconds) { return seconds / static_cast<double>(packets) * 1e9; };
  fmt::print("{}: {} packets; libpcap {:.0f} ns each, with verdicts {:.0f} ns\n", what, packets, each(alone),
             each(all));
  print(what + ": with verdicts / libpcap alone", all / alone, 3, "");
}

}  // namespace

int main(int argc, char** argv) {
  const uint64_t bytes = (argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1000) * 1'000'000;
  std::mt19937 random(1);
  const std::string configuration = configurationText(random);
  measure("frames of mixed sizes", bytes, /*isSmall=*/false, configuration);
  measure("frames of 64 bytes", bytes, /*isSmall=*/true, configuration);
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  print("memory", static_cast<double>(usage.ru_maxrss) / 1024, 50, " MB");
  return isKept ? 0 : 1;
}
