// SPDX-License-Identifier: MIT
#include "tests/torture/SendModel.h"
#include "tests/torture/send_replies.h"

#include <iterator>

namespace {

void addList(SendScript &script, const std::string &name, const std::vector<std::string> &entries)
{
    script.emplace_back(command("LOCAL:OBJECT:STRINGLIST_GET_SIZE", "NAME=|" + name + "|"),
                        std::to_string(entries.size()));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        script.emplace_back(command("LOCAL:OBJECT:STRINGLIST_GET_VALUE",
                                    "NAME=|" + name + "| INDEX=|" + std::to_string(i + 1) + "|"),
                            entries[i]);
    }
}

void addParameters(SendScript &script)
{
    const std::pair<const char *, const char *> parameters[] = {
        {"SERVER_UPLOAD_APPLICATION", "app"},     {"SERVER_UPLOAD_PASSWORD", "session-secret"},
        {"SERVER_UPLOAD_PROFILE_CONTAINER", "P"}, {"SERVER_UPLOAD_PROCEDURE", "Process"},
        {"SERVER_UPLOAD_PARAM", "QUEUE=|main|"},  {"PORTAL_URL", "http://portal/?x"}};
    script.emplace_back(command("LOCAL:OBJECT:INDSTRINGLIST_GET_SIZE", "NAME=|parameters|"),
                        std::to_string(std::size(parameters)));
    int index = 0;
    for (const auto &[key, value] : parameters) {
        script.emplace_back(command("LOCAL:OBJECT:INDSTRINGLIST_GET_KEY",
                                    "NAME=|parameters| INDEX=|" + std::to_string(++index) + "|"),
                            key);
        script.emplace_back(command("LOCAL:OBJECT:INDSTRINGLIST_GET_VALUE",
                                    std::string("NAME=|parameters| KEY=|") + key + "|"),
                            value);
    }
}

} // namespace

SendScript sendScript(const SendSetup &setup)
{
    SendScript script;
    addParameters(script);
    addList(script, "directories", {firstDirectory, secondDirectory, "third;app:other"});
    addList(script, "Topics", {"DlgIdent=http://help/ident", "Main=http://help/"});
    addList(script, "PRINTING_MODES", {"STANDARD", "ASYNC", "TUNNEL"});
    script.emplace_back(command("LOCAL:OBJECT:STRING_GET_VALUE", "NAME=|TUNNEL_MODE|"),
                        setup.severalServices ? "MULTIPLE" : "SINGLE");
    script.emplace_back(command("LOCAL:OBJECT:TABLE_GET_NUM_ROWS", "NAME=|TUNNEL_SERVICES|"), "2");
    script.emplace_back(command("LOCAL:OBJECT:TABLE_GET_ROW", "NAME=|TUNNEL_SERVICES| ROW=|1|"),
                        "A;Label;PA");
    script.emplace_back(command("LOCAL:OBJECT:TABLE_GET_ROW", "NAME=|TUNNEL_SERVICES| ROW=|2|"),
                        "B;Label;PB");
    script.emplace_back(command("LOCAL:OBJECT:STRING_GET_VALUE", "NAME=|TUNNEL_SERVICE_NAME|"), "Service");
    script.emplace_back(command("LOCAL:OBJECT:STRING_GET_VALUE", "NAME=|TUNNEL_SERVICE_PROFILE|"), "Profile");
    script.emplace_back(command("LOCAL:OBJECT:FILE_GET_SIZE", "NAME=|SEND_FILE|"),
                        std::to_string(sentPlainBytes));
    script.emplace_back(command("LOCAL:OBJECT:FILE_GET_SIZE", "NAME=|COMPRESSED_FILE|"),
                        std::to_string(sentCompressedBytes));
    script.emplace_back(command("LOCAL:OBJECT:STRING_GET_VALUE", "NAME=|FILE_ID|"), "FILE-7");
    script.emplace_back("VR_CMD=|LOCAL:REQUEST:GET_SESSION_ID|", "S1");
    return script;
}
