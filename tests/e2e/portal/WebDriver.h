// SPDX-License-Identifier: MIT
#pragma once

#include <httplib.h>
#include <nlohmann/json.hpp>
#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <string>

/// A headless Chromium, driven through chromedriver (W3C WebDriver). Functions throw std::runtime_error with
/// what the browser said.
class WebDriver
{
public:
    struct Settings
    {
        int width = 1280;
        int height = 980;
        bool isPhone = false; ///< a touch screen of that size, with the density of one
        bool runsScripts = true;
    };

    explicit WebDriver(const Settings &settings);
    ~WebDriver();
    WebDriver(const WebDriver &) = delete;
    WebDriver &operator=(const WebDriver &) = delete;

    void open(const std::string &url);
    [[nodiscard]] std::string address();
    [[nodiscard]] std::string text(const std::string &selector);
    [[nodiscard]] std::string attribute(const std::string &selector, const std::string &name);
    [[nodiscard]] std::size_t count(const std::string &selector);
    void click(const std::string &selector);
    /// Types into the element; "\uE004" is the tab key, "\uE003" backspace.
    void type(const std::string &selector, const std::string &keys);
    /// Types into whatever has the focus.
    void press(const std::string &keys);
    void clear(const std::string &selector);
    nlohmann::json evaluate(const std::string &script);
    /// Waits until there is such an element.
    void await(const std::string &selector);
    /// A PNG file of what the window shows.
    void screenshot(const std::filesystem::path &path);
    /// The same, once the window has not changed for two seconds.
    void screenshotWhenStill(const std::filesystem::path &path);

private:
    nlohmann::json call(const char *method, const std::string &path, const nlohmann::json &body = nullptr);
    [[nodiscard]] std::string element(const std::string &selector);
    int runningDriver();
    /// The driver's port, 0 when it ended instead.
    int startDriver();
    void stopDriver();

    std::filesystem::path m_folder;
    pid_t m_pid = -1;
    std::unique_ptr<httplib::Client> m_client;
    std::string m_session;
};
