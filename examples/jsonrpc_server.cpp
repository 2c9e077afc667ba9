// olma_jsonrpc_server: the example tasks service and the introspection service over
// JSON-RPC 1.1 on HTTP.
//
//   olma_jsonrpc_server [--address 127.0.0.1] [--port 0] [--threads 2] [--l10n DIR]
//                       [--max-body BYTES] [--idle-timeout-ms MS] [--request-timeout-ms MS]
//                       [--call-log on|off] [--port-file PATH]
//
// Prints "listening on ADDRESS:PORT" once it accepts calls (and writes the port to
// --port-file when given), logs each call with its client address on stderr, and stops
// gracefully on SIGTERM or SIGINT: calls in flight are answered first.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "olma/jsonrpc/introspection_service.h"
#include "olma/jsonrpc/server.h"
#include "olma/l10n/localization_bundle.h"
#include "olma/l10n_icu/icu_localizer.h"
#include "olma/provider/call_dispatcher.h"
#include "olma/provider/interface_container.h"
#include "tasks_service.h"

namespace {

struct Arguments {
  Olma::JsonRpc::ServerOptions options;
  std::string l10nDirectory = OLMA_EXAMPLE_L10N_DIR;
  std::string portFile;
  bool callLog = true;
};

bool ParseOptions(int argc, char** argv, Arguments& arguments) {
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string_view name = argv[i];
    const std::string value = argv[i + 1];
    if (name == "--address") {
      arguments.options.address = value;
    } else if (name == "--port") {
      arguments.options.port = static_cast<unsigned short>(std::stoul(value));
    } else if (name == "--threads") {
      arguments.options.threads = static_cast<unsigned>(std::stoul(value));
    } else if (name == "--max-body") {
      arguments.options.maxBodyBytes = std::stoul(value);
    } else if (name == "--idle-timeout-ms") {
      arguments.options.idleTimeout = std::chrono::milliseconds(std::stoul(value));
    } else if (name == "--request-timeout-ms") {
      arguments.options.requestTimeout = std::chrono::milliseconds(std::stoul(value));
    } else if (name == "--call-log") {
      arguments.callLog = value != "off";
    } else if (name == "--l10n") {
      arguments.l10nDirectory = value;
    } else if (name == "--port-file") {
      arguments.portFile = value;
    } else {
      return false;
    }
  }
  return argc % 2 == 1;
}

bool Parse(int argc, char** argv, Arguments& arguments) {
  try {
    return ParseOptions(argc, argv, arguments);
  } catch (const std::exception&) {  // a number that does not parse
    return false;
  }
}

// German and French templates from the service's bundles; English is built in.
Olma::L10n::Localizer::PtrConstType MakeLocalizer(const std::string& directory) {
  auto bundle = std::make_shared<Olma::L10n::LocalizationBundle>();
  std::vector<std::string> locales;
  for (const char* locale : {"de", "fr"}) {
    std::ifstream in(directory + "/" + locale + ".ini");
    std::error_code ec;
    auto entries = Olma::L10n::LocalizationBundle::LoadIniFile(in, ec);
    if (!in.good() && !in.eof()) ec = std::make_error_code(std::errc::no_such_file_or_directory);
    if (ec) {
      std::cerr << "no " << locale << " bundle in " << directory << ": " << ec.message() << "\n";
      continue;
    }
    bundle->AddLocale(locale, *entries);
    locales.push_back(locale);
  }
  return Olma::L10n::IcuLocalizer::GetInstance(std::move(bundle), std::move(locales));
}

}  // namespace

int main(int argc, char** argv) {
  Arguments arguments;
  if (!Parse(argc, argv, arguments)) {
    std::cerr << "usage: " << argv[0]
              << " [--address A] [--port P] [--threads N] [--max-body BYTES] [--idle-timeout-ms MS]"
                 " [--request-timeout-ms MS] [--call-log on|off] [--l10n DIR] [--port-file PATH]\n";
    return 2;
  }
  // Clients are not trusted: one bad input reports at most 100 failures.
  Olma::Provider::CallDispatcherOptions checks;
  checks.maxInputFailures = 100;
  auto container = Olma::Provider::AsyncApiInterfaceConcurrentContainer<std::mutex>::GetInstance();
  auto dispatcher = Olma::Provider::CallDispatcher::GetInstance(container, {}, checks);
  Olma::MessageList messages;
  container->Add(example::MakeTasksInterface(), messages);
  container->Add(Olma::JsonRpc::IntrospectionService::GetInstance(dispatcher), messages);

  Olma::JsonRpc::ServerOptions& options = arguments.options;
  options.localizer = MakeLocalizer(arguments.l10nDirectory);
  options.stopOnSignals = true;
  if (arguments.callLog) {
    options.callLog = [](const Olma::JsonRpc::CallRecord& call) {
      std::cerr << "call " << call.method << " from " << call.clientAddress << ": " << call.outcome
                << (call.errorName.empty() ? "" : " ") << call.errorName << " (" << call.duration.count()
                << " us)\n";
    };
  }
  Olma::JsonRpc::Server server(options, dispatcher);
  boost::system::error_code ec;
  if (!server.Start(ec)) {
    std::cerr << "cannot listen on " << options.address << ":" << options.port << ": " << ec.message()
              << "\n";
    return 1;
  }
  if (!arguments.portFile.empty()) std::ofstream(arguments.portFile) << server.port() << "\n";
  std::cout << "listening on " << options.address << ":" << server.port() << std::endl;
  server.Wait();
  std::cout << "stopped" << std::endl;
  return 0;
}
