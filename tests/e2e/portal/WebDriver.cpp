// SPDX-License-Identifier: MIT
#include "tests/e2e/portal/WebDriver.h"

#include "tests/support/file_bytes.h"
#include "tests/support/wait_for.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

using nlohmann::json;

namespace {

constexpr const char *elementKey = "element-6066-11e4-a52e-4f735466cecf";
constexpr const char *driverProgram = "/usr/bin/chromedriver";

json capabilities(const WebDriver::Settings &settings, const std::filesystem::path &profile)
{
    json options;
    options["args"] = {"--headless=new",
                       "--no-sandbox",
                       "--disable-gpu",
                       "--disable-quic",
                       "--no-first-run",
                       "--disable-background-networking",
                       "--disable-component-update",
                       "--disable-sync",
                       "--disable-dev-shm-usage",
                       "--hide-scrollbars",
                       "--user-data-dir=" + profile.string(),
                       "--window-size=" + std::to_string(settings.width) + ',' +
                           std::to_string(settings.height)};
    if (settings.isPhone) {
        options["mobileEmulation"] = {
            {"deviceMetrics",
             {{"width", settings.width}, {"height", settings.height}, {"pixelRatio", 2.0}, {"touch", true}}}};
    }
    if (!settings.runsScripts) {
        options["prefs"] = {{"profile.managed_default_content_settings.javascript", 2}};
    }
    return {
        {"capabilities",
         {{"alwaysMatch",
           {{"browserName", "chrome"}, {"acceptInsecureCerts", true}, {"goog:chromeOptions", options}}}}}};
}

} // namespace

WebDriver::WebDriver(const Settings &settings)
{
    if (!std::filesystem::exists(driverProgram)) {
        throw std::runtime_error("chromedriver is missing: install the package chromium-driver");
    }
    std::string name = (std::filesystem::temp_directory_path() / "webdriver-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("cannot create a temporary folder");
    }
    m_folder = name;
    m_client = std::make_unique<httplib::Client>("127.0.0.1", runningDriver());
    m_client->set_read_timeout(120);
    m_session = call("POST", "/session", capabilities(settings, m_folder / "profile"))["sessionId"];
}

WebDriver::~WebDriver()
{
    if (!m_session.empty()) {
        m_client->Delete("/session/" + m_session);
    }
    stopDriver();
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
}

int WebDriver::runningDriver()
{
    // It ends at once when the port that it was given for IPv4 is taken for IPv6.
    for (int attempt = 0; attempt < 5; ++attempt) {
        if (const int port = startDriver()) {
            return port;
        }
    }
    throw std::runtime_error("chromedriver does not start: is the package chromium-driver installed?");
}

int WebDriver::startDriver()
{
    const std::filesystem::path output = m_folder / "chromedriver";
    m_pid = ::fork();
    if (m_pid == 0) {
        ::setpgid(0, 0);
        const int fd = ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::dup2(fd, STDOUT_FILENO);
        ::dup2(fd, STDERR_FILENO);
        ::execl(driverProgram, driverProgram, "--port=0", static_cast<char *>(nullptr));
        ::_exit(127);
    }
    int port = 0;
    waitFor("chromedriver to start", [&] {
        const std::string text = fileBytes(output);
        const std::string marker = "started successfully on port ";
        const auto at = text.find(marker);
        if (at != std::string::npos) {
            port = std::atoi(text.c_str() + at + marker.size());
        }
        return port != 0 || ::waitpid(m_pid, nullptr, WNOHANG) == m_pid;
    });
    return port;
}

void WebDriver::stopDriver()
{
    if (m_pid > 0) {
        // The group: the browser is the driver's child.
        ::kill(-m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
}

json WebDriver::call(const char *method, const std::string &path, const json &body)
{
    httplib::Request request;
    request.method = method;
    request.path = m_session.empty() ? path : "/session/" + m_session + path;
    if (request.method == "POST") {
        request.body = body.is_null() ? "{}" : body.dump();
        request.set_header("Content-Type", "application/json");
    }
    const auto response = m_client->send(request);
    if (!response) {
        throw std::runtime_error("chromedriver does not answer: " + httplib::to_string(response.error()));
    }
    const json answer = json::parse(response->body);
    if (response->status != 200) {
        throw std::runtime_error(path + ": " + answer["value"]["message"].get<std::string>());
    }
    return answer["value"];
}

void WebDriver::open(const std::string &url)
{
    call("POST", "/url", {{"url", url}});
}

std::string WebDriver::address()
{
    return call("GET", "/url");
}

std::string WebDriver::element(const std::string &selector)
{
    return call("POST", "/element", {{"using", "css selector"}, {"value", selector}})[elementKey];
}

std::size_t WebDriver::count(const std::string &selector)
{
    return call("POST", "/elements", {{"using", "css selector"}, {"value", selector}}).size();
}

std::string WebDriver::text(const std::string &selector)
{
    return call("GET", "/element/" + element(selector) + "/text");
}

std::string WebDriver::attribute(const std::string &selector, const std::string &name)
{
    const json value = call("GET", "/element/" + element(selector) + "/attribute/" + name);
    return value.is_string() ? value.get<std::string>() : std::string();
}

void WebDriver::click(const std::string &selector)
{
    call("POST", "/element/" + element(selector) + "/click");
}

void WebDriver::type(const std::string &selector, const std::string &keys)
{
    call("POST", "/element/" + element(selector) + "/value", {{"text", keys}});
}

void WebDriver::press(const std::string &keys)
{
    const std::string focused = call("GET", "/element/active")[elementKey];
    call("POST", "/element/" + focused + "/value", {{"text", keys}});
}

void WebDriver::clear(const std::string &selector)
{
    call("POST", "/element/" + element(selector) + "/clear");
}

json WebDriver::evaluate(const std::string &script)
{
    return call("POST", "/execute/sync", {{"script", script}, {"args", json::array()}});
}

void WebDriver::await(const std::string &selector)
{
    waitFor("the element " + selector, [&] { return count(selector) > 0; });
}

void WebDriver::screenshot(const std::filesystem::path &path)
{
    const std::string base64 = call("GET", "/screenshot");
    std::string png(base64.size(), '\0');
    std::size_t length = 0;
    void *raw = png.data();
    if (sodium_base642bin(static_cast<unsigned char *>(raw), png.size(), base64.data(), base64.size(),
                          nullptr, &length, nullptr, sodium_base64_VARIANT_ORIGINAL) != 0) {
        throw std::runtime_error("the screenshot is no Base64");
    }
    std::ofstream(path, std::ios::binary).write(png.data(), static_cast<std::streamsize>(length));
}

void WebDriver::screenshotWhenStill(const std::filesystem::path &path)
{
    std::string last;
    auto since = std::chrono::steady_clock::now();
    waitFor("the window to be still", [&] {
        std::string next = call("GET", "/screenshot");
        if (next != last) {
            last = std::move(next);
            since = std::chrono::steady_clock::now();
        }
        return std::chrono::steady_clock::now() - since > std::chrono::seconds(2);
    });
    screenshot(path);
}
