#pragma once

#include "compose/argument.h"
#include "mail.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace mapi
{

// The kernel's limit for one argument with its end: 32 pages of 4 KiB, whatever the page size is today.
inline constexpr std::size_t longestKernelArgument = 131072 - 1;

// A mail client whose own way of opening a filled compose window is known. Adding one is one row of the
// table in clients.cpp.
struct MailClient {
    // The name in mapi.ini and in the log.
    std::string_view name;
    // File names of its program, by which a desktop entry's command is recognised.
    std::array<std::string_view, 4> programs;
    // Names of its desktop entries without ".desktop"; those with two dots or more are also the names of
    // its Flatpak packages.
    std::array<std::string_view, 8> entries;
    // Options of its desktop entry, each with a value, that choose the user's profile and must be kept.
    std::array<std::string_view, 4> keptOptions;

    // The arguments that open the window, behind the program. `files` are the absolute paths of the
    // attachments, in their order, under the names that the receiver is to see.
    Arguments (*arguments)(const Mail &mail, const std::vector<std::string> &files);
    // The longest argument that arrives whole, in bytes.
    std::size_t longestArgument;
    // Whether those arguments carry attachments; otherwise a mail with any goes as a draft.
    bool attachments;
    // Opens an .eml file with "X-Unsent: 1" in a compose window, with everything that is in it: attachments,
    // the originator, the wish for a receipt.
    bool drafts;
    // Whether only a draft carries a mail, attachments aside; null for never.
    bool (*needsDraft)(const Mail &mail);

    [[nodiscard]] bool hasProgram(std::string_view program) const;
    [[nodiscard]] bool hasEntry(std::string_view entry) const;
};

// The client of that name, program or desktop entry; null for none. The pointer is valid for good.
[[nodiscard]] const MailClient *clientByName(std::string_view name);
[[nodiscard]] const MailClient *clientByProgram(std::string_view program);
[[nodiscard]] const MailClient *clientByEntry(std::string_view entry);

}
