// zvprint status, info and wifi: questions to the printer and its Wi-Fi
// settings, each answered or failed with a reason.

#include "cli_support.h"
#include "commands.h"
#include "job_output.h"
#include "printer_backend.h"

#include <zvprinter/ZVPrinterQuery.h>

#include <nlohmann/json.hpp>

#include <cstdlib>

#include <iostream>
#include <map>
#include <memory>
#include <optional>

namespace zvprint {

namespace {

struct DeviceOptions {
  std::string printer;
  BackendOptions backend;
  OutputOptions output;
  // wifi set
  std::optional<std::string> ssid, password, ip;
  std::string mode;
  std::optional<uint64_t> auth;
};

void addCommon(CLI::App &command, DeviceOptions &options) {
  command.add_option("--printer", options.printer,
                     "Printer name (part of it) or identifier; default: the first one found");
  addBackendOptions(command, options.backend);
  addOutputOptions(command, options.output);
}

std::vector<std::string> ask(const DeviceOptions &options, std::vector<ZVPrinterRequest> requests,
                             const std::string &what) {
  installBackend(options.backend, options.printer);
  if (requests.empty()) fail(what + ": nothing to send (a value cannot be encoded)");
  ZVPrinterQueryOptions queryOptions;
  queryOptions.printer = ZVPrinterTarget::fromText(options.printer);
  ZVPrinterQuery query(std::move(requests), queryOptions);
  OutputOptions quiet = options.output;
  quiet.json = true; // phases are not worth a line for a question
  JobOutput output(quiet, what, "answers");
  query.setProgressHandler(output.handler());
  const ZVJobResult result = query.run();
  if (!result.succeeded) {
    // A script reading --json gets its one object on failure too.
    if (options.output.json) {
      std::cout << nlohmann::json{{"ok", false},
                                  {"failure", ZVJobFailureName(result.failure)},
                                  {"reason", result.reason},
                                  {"printer", result.printerName},
                                  {"virtual", result.virtualPrinter},
                                  {"nothing_sent", result.nothingSent}}
                       .dump()
                << "\n"
                << std::flush;
    }
    fail(what + " failed: " + result.reason);
  }
  return query.answers();
}

void printFields(const DeviceOptions &options, const std::vector<std::string> &names,
                 const std::vector<std::string> &values) {
  if (options.output.json) {
    nlohmann::json out{{"ok", true}};
    for (size_t i = 0; i < names.size() && i < values.size(); ++i) {
      // Numbers stay numbers for a script (names, versions and serials are text).
      char *end = nullptr;
      const long long number = std::strtoll(values[i].c_str(), &end, 10);
      const bool numeric = names[i] == "status" || names[i] == "auth";
      if (numeric && !values[i].empty() && *end == '\0')
        out[names[i]] = number;
      else
        out[names[i]] = values[i];
    }
    std::cout << out.dump() << "\n";
    return;
  }
  for (size_t i = 0; i < names.size() && i < values.size(); ++i)
    std::cout << names[i] << ": " << values[i] << "\n";
}

void status(const DeviceOptions &options) {
  const auto answers = ask(options, ZVPrinterQuery::status(), "status");
  const ZVPrinterStatus status{std::stoll(answers.at(0))};
  const std::string state = status.paperOut()   ? "out of paper"
                            : status.printing() ? "printing"
                                                : "ready";
  printFields(options, {"state", "status"}, {state, std::to_string(status.raw)});
}

void info(const DeviceOptions &options) {
  printFields(options, {"name", "firmware", "serial"},
              ask(options, ZVPrinterQuery::info(), "info"));
}

void wifiShow(const DeviceOptions &options) {
  // "WM:STA;WS:office;WI:0.0.0.0;WA:4"
  const std::string settings = ask(options, ZVPrinterQuery::wifiShow(), "wifi show").at(0);
  std::vector<std::string> names, values;
  const std::map<std::string, std::string> labels{
      {"WM", "mode"}, {"WS", "ssid"}, {"WI", "ip"}, {"WA", "auth"}, {"WP", "password"}};
  size_t start = 0;
  while (start < settings.size()) {
    size_t end = settings.find(';', start);
    if (end == std::string::npos) end = settings.size();
    const std::string field = settings.substr(start, end - start);
    const size_t colon = field.find(':');
    if (colon != std::string::npos) {
      const auto label = labels.find(field.substr(0, colon));
      names.push_back(label != labels.end() ? label->second : field.substr(0, colon));
      values.push_back(field.substr(colon + 1));
    }
    start = end + 1;
  }
  printFields(options, names, values);
}

void wifiSet(const DeviceOptions &options) {
  std::optional<int64_t> mode;
  if (!options.mode.empty()) mode = options.mode == "ap" ? 1 : 0;
  const auto requests =
      ZVPrinterQuery::wifiSet(options.ssid, options.password, mode, options.ip, options.auth);
  if (!options.ssid && !options.password && !mode && !options.ip && !options.auth)
    fail("wifi set: give at least one of --ssid, --password, --mode, --ip, --auth");
  ask(options, requests, "wifi set");
  printFields(options, {"wifi"}, {"settings stored; 'zvprint wifi restart' applies them"});
}

void wifiRestart(const DeviceOptions &options) {
  ask(options, ZVPrinterQuery::wifiRestart(), "wifi restart");
  printFields(options, {"wifi"}, {"restarted"});
}

} // namespace

void addDeviceCommands(CLI::App &app) {
  auto options = std::make_shared<DeviceOptions>();
  auto *statusCommand = app.add_subcommand("status", "Ask the printer's status");
  addCommon(*statusCommand, *options);
  statusCommand->callback([options] { status(*options); });

  auto *infoCommand =
      app.add_subcommand("info", "Ask the printer's name, firmware version and serial number");
  addCommon(*infoCommand, *options);
  infoCommand->callback([options] { info(*options); });

  auto *wifi = app.add_subcommand("wifi", "Show or change the printer's Wi-Fi settings");
  wifi->require_subcommand(1);
  auto *show = wifi->add_subcommand("show", "Show the Wi-Fi settings (never the password)");
  addCommon(*show, *options);
  show->callback([options] { wifiShow(*options); });
  auto *set = wifi->add_subcommand("set", "Store Wi-Fi settings");
  addCommon(*set, *options);
  set->add_option("--ssid", options->ssid, "Network name");
  set->add_option("--password", options->password, "Network password");
  set->add_option("--mode", options->mode, "sta (join a network) or ap (be one)")
      ->check(CLI::IsMember({"sta", "ap"}));
  set->add_option("--ip", options->ip, "Fixed IP address");
  set->add_option("--auth", options->auth, "Authentication method number");
  set->callback([options] { wifiSet(*options); });
  auto *restart = wifi->add_subcommand("restart", "Restart the Wi-Fi with the stored settings");
  addCommon(*restart, *options);
  restart->callback([options] { wifiRestart(*options); });
}

} // namespace zvprint
