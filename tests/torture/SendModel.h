// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

/// What befalls one command of a send, counted from 1.
enum class Fault
{
    none,
    serverError,      ///< an error that nothing is known of
    networkOnce,      ///< the repetition succeeds
    networkTwice,     ///< the repetition fails as well
    cannotConnect,    ///< LOCAL / REQUEST / 103
    proxyCredentials, ///< LOCAL / REQUEST / 113
    badUser,          ///< SYSTEM / SECURITY / 101
    badPassword,      ///< SYSTEM / SECURITY / 103
    badFormat,        ///< POD / INPUT / 101
    emptyAnswer,      ///< success, with nothing in the result
    nonsenseAnswer,   ///< success, with a result that means nothing
};

inline constexpr char nonsense[] = "<html>%s</html>";

/// One complete send as it is set up for the sweep.
struct SendSetup
{
    const char *name;
    int printMode; ///< what the user chooses
    bool testMode;
    bool opensPortal;     ///< the run mode is not "test"
    bool severalServices; ///< in tunnel mode
    bool silent;
};

/// What a send leaves behind, as far as anybody can see it.
struct SendOutcome
{
    std::vector<std::string> commands; ///< in order, repetitions included, without the questions for an error
    std::string boxes;                 ///< the texts, one a line
    std::string remarks; ///< "Bad user", "Bad password", "User canceled the operation", one a line
    std::string browser; ///< the address without the digest; empty when none was opened
    int result = 0;
    bool passwordForgotten = false;
    std::string lastDirectory;            ///< the stored directory that answered last
    std::vector<std::string> directories; ///< the stored list
    std::string help;                     ///< the stored address of the main help page
    int proxyQuestions = 0;

    bool operator==(const SendOutcome &) const = default;
};

/// Answers of a directory, an upload server and a portal by the beginning of the command; of two that fit the
/// later one counts, and any other command succeeds with an empty result.
using SendScript = std::vector<std::pair<std::string, std::string>>;

inline constexpr int sentPlainBytes = 200000;
inline constexpr int sentCompressedBytes = 65546; ///< two blocks, the second of 10 bytes
inline constexpr char firstDirectory[] = "first;app:main";
inline constexpr char secondDirectory[] = "second:2000;app:spare";

/// The answers when nothing fails. The size on the server is answered by the model and not part of it.
[[nodiscard]] SendScript sendScript(const SendSetup &setup);

/// What a send of `document` does when `fault` befalls command `number`, worked out from what each step
/// examines and what it passes over: the failure tables of the send, as a program. `before` is what an
/// earlier send left.
[[nodiscard]] SendOutcome predictSend(const SendSetup &setup, const std::string &document, Fault fault,
                                      int number, const SendOutcome &before = {});
