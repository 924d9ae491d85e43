#include "addresses.h"
#include "failure.h"
#include "headertext.h"

#include <QTest>

#include <string>
#include <vector>

using namespace std::string_literals;
using Mailboxes = std::vector<mapi::Mailbox>;

namespace
{

std::string describe(const Mailboxes &mailboxes)
{
    std::string text;
    for (const mapi::Mailbox &mailbox : mailboxes)
        text += "{" + mailbox.name + "|" + mailbox.address + "}";
    return text;
}

// "{name|address}..." or the result code of the refusal.
template <typename Call> std::string outcomeOf(const Call &call)
{
    try {
        return describe(call());
    } catch (const mapi::Failure &failure) {
        return std::to_string(failure.code());
    }
}

std::size_t longestLine(const std::string &text)
{
    std::size_t longest = 0;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        longest = std::max(longest, end - start);
        start = end + 1;
    }
    return longest;
}

}

class TestMapiAddresses final : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void accepted_data();
    void accepted();
    void refused_data();
    void refused();
    void nameAndAddress_data();
    void nameAndAddress();
    void headerText_data();
    void headerText();
    void headerTextNeverBreaksItsLimits();
    void parameters_data();
    void parameters();
    void mailboxHeader_data();
    void mailboxHeader();
};

void TestMapiAddresses::accepted_data()
{
    QTest::addColumn<std::string>("text");
    QTest::addColumn<std::string>("expected");

    QTest::newRow("address") << "max@example.org"s
                             << "{|max@example.org}"s;
    QTest::newRow("blanks around") << " \tmax@example.org "s
                                   << "{|max@example.org}"s;
    QTest::newRow("name") << "Max <max@example.org>"s
                          << "{Max|max@example.org}"s;
    QTest::newRow("umlaut") << "Max M\xC3\xBCller <max@example.org>"s
                            << "{Max M\xC3\xBCller|max@example.org}"s;
    QTest::newRow("emoji") << "\xF0\x9F\x98\x80 <e@x>"s
                           << "{\xF0\x9F\x98\x80|e@x}"s;
    QTest::newRow("dot in the name") << "J. Smith <j@x.org>"s
                                     << "{J. Smith|j@x.org}"s;
    QTest::newRow("quoted comma") << "\"Smith, J\" <j@x>"s
                                  << "{Smith, J|j@x}"s;
    QTest::newRow("comma without quotes") << "M\xC3\xBCller, Max <m@x>"s
                                          << "{M\xC3\xBCller, Max|m@x}"s;
    QTest::newRow("colon without quotes") << "Fa.: X <m@x>"s
                                          << "{Fa.: X|m@x}"s;
    QTest::newRow("brackets in quotes") << "\"a > b < c\" <m@x>"s
                                        << "{a > b < c|m@x}"s;
    QTest::newRow("bracket in a comment") << "m@x (a > b)"s
                                          << "{a > b|m@x}"s;
    QTest::newRow("apostrophe") << "O'Neil <o'neil@x.org>"s
                                << "{O'Neil|o'neil@x.org}"s;
    QTest::newRow("brackets only") << "<m@x>"s
                                   << "{|m@x}"s;
    QTest::newRow("address as its own name") << "m@x <m@x>"s
                                             << "{|m@x}"s;
    QTest::newRow("comment as name") << "m@x (Max M)"s
                                     << "{Max M|m@x}"s;
    QTest::newRow("transport") << "SMTP:max@example.org"s
                               << "{|max@example.org}"s;
    QTest::newRow("transport in lower case") << "smtp: max@example.org"s
                                             << "{|max@example.org}"s;
    QTest::newRow("transport before a name") << "SMTP:Max <m@x>"s
                                             << "{Max|m@x}"s;
    QTest::newRow("domain with umlaut") << "max@ex\xC3\xA4mple.org"s
                                        << "{|max@xn--exmple-cua.org}"s;
    QTest::newRow("domain in its ascii form") << "a@xn--exmple-cua.org"s
                                              << "{|a@xn--exmple-cua.org}"s;
    QTest::newRow("local part with umlaut") << "m\xC3\xA4x@example.org"s
                                            << "{|m\xC3\xA4x@example.org}"s;
    QTest::newRow("quoted local part") << "\"a b\"@x"s
                                       << "{|\"a b\"@x}"s;
    QTest::newRow("at sign in a quoted local part") << "\"a@b\"@x"s
                                                    << "{|\"a@b\"@x}"s;
    QTest::newRow("plus and equals") << "max+tag=1@example.org"s
                                     << "{|max+tag=1@example.org}"s;
    QTest::newRow("domain literal") << "a@[127.0.0.1]"s
                                    << "{|a@[127.0.0.1]}"s;
    QTest::newRow("user of this machine") << "root"s
                                          << "{|root}"s;
    QTest::newRow("user of this machine with name") << "Admin <root>"s
                                                    << "{Admin|root}"s;
    QTest::newRow("several") << "a@x, B <b@y>"s
                             << "{|a@x}{B|b@y}"s;
    QTest::newRow("comma at the end") << "m@x,"s
                                      << "{|m@x}"s;
    QTest::newRow("encoded name") << "=?utf-8?q?M=C3=BCller?= <a@x>"s
                                  << "{M\xC3\xBCller|a@x}"s;
    QTest::newRow("long local part") << std::string(900, 'a') + "@x"
                                     << "{|" + std::string(900, 'a') + "@x}";
}

void TestMapiAddresses::accepted()
{
    QFETCH(std::string, text);
    QFETCH(std::string, expected);
    QCOMPARE(outcomeOf([&] { return mapi::parseAddresses(text); }), expected);
}

void TestMapiAddresses::refused_data()
{
    QTest::addColumn<std::string>("text");

    QTest::newRow("empty") << ""s;
    QTest::newRow("blanks") << "  \t"s;
    QTest::newRow("transport alone") << "SMTP:"s;
    QTest::newRow("display name alone") << "Max M\xC3\xBCller"s;
    QTest::newRow("one word that is no user name") << "M\xC3\xBCller"s;
    QTest::newRow("at sign alone") << "@"s;
    QTest::newRow("no local part") << "@x"s;
    QTest::newRow("no domain") << "a@"s;
    QTest::newRow("two at signs in a row") << "a@@x"s;
    QTest::newRow("two at signs") << "a@x@y"s;
    QTest::newRow("two addresses with a blank") << "a@x b@y"s;
    QTest::newRow("semicolon") << "a@x; b@y"s;
    QTest::newRow("address and a rest") << "a@x, garbage garbage"s;
    QTest::newRow("address and a name") << "a@x, Smith"s;
    QTest::newRow("two in brackets") << "Max <a@x> <b@y>"s;
    QTest::newRow("bracket and address") << "Max <a@x> b@y"s;
    QTest::newRow("name is another address") << "b@y <a@x>"s;
    QTest::newRow("rest behind the bracket") << "Max <a@x> junk"s;
    QTest::newRow("open bracket") << "Max <a@x"s;
    QTest::newRow("closing bracket") << "a@x>"s;
    QTest::newRow("closing bracket behind quotes") << "\"a\"@x>"s;
    QTest::newRow("closing bracket behind a comment") << "a@x (<)>"s;
    QTest::newRow("closing bracket behind a quoted one") << "a@x \"<\">"s;
    QTest::newRow("closing bracket in the second address") << "A <a@x>, b@y>"s;
    QTest::newRow("closing bracket behind a literal") << "a@[127.0.0.1]>"s;
    QTest::newRow("bracket behind an address") << "a@x <"s;
    QTest::newRow("bracket behind an odd literal") << "a@[\"] <b@y>"s;
    QTest::newRow("comma in brackets") << "A <a@x,b>"s;
    QTest::newRow("open comment behind a literal") << "a@[127.0.0.1] (c"s;
    QTest::newRow("two closing brackets") << "A <a@x>>"s;
    QTest::newRow("open encoded word") << "=?UTF-8?Q?Max=0AX?=@ org>"s;
    QTest::newRow("open quote") << "\"Max <a@x>"s;
    QTest::newRow("open comment") << "a@x (c"s;
    QTest::newRow("empty brackets") << "Max <>"s;
    QTest::newRow("bracket with two") << "Max <a@x, b@y>"s;
    QTest::newRow("group") << "Team: a@x, b@y;"s;
    QTest::newRow("empty group") << "undisclosed-recipients:;"s;
    QTest::newRow("source route") << "<@a,@b:c@d>"s;
    QTest::newRow("option") << "-oQ/tmp@x"s;
    QTest::newRow("option as user") << "-bd"s;
    QTest::newRow("file") << "/etc/passwd"s;
    QTest::newRow("command") << "|sh"s;
    QTest::newRow("line feed") << "a@x\nBcc: b@y"s;
    QTest::newRow("carriage return") << "a@x\rBcc: b@y"s;
    QTest::newRow("line feed in the name") << "Max\nX: y <a@x>"s;
    QTest::newRow("line feed at the end") << "a@x\n"s;
    QTest::newRow("control character in the address") << "a\x01@x"s;
    QTest::newRow("at sign in quotes only") << "\"a@x\""s;
    QTest::newRow("at sign in quotes and no domain") << "\"a,b@\".org"s;
    QTest::newRow("two dots") << "a..b@x"s;
    QTest::newRow("longer than a line may be") << std::string(1000, 'a') + "@x";
    QTest::newRow("a million characters") << std::string(1000000, 'a') + "@x";
    QTest::newRow("a million open brackets") << std::string(1000000, '<');
    QTest::newRow("a million open comments") << "a@x " + std::string(1000000, '(');
    QTest::newRow("a million quotes") << std::string(1000000, '"');
}

void TestMapiAddresses::refused()
{
    QFETCH(std::string, text);
    QCOMPARE(outcomeOf([&] { return mapi::parseAddresses(text); }), std::to_string(MAPI_E_INVALID_RECIPS));
}

void TestMapiAddresses::nameAndAddress_data()
{
    QTest::addColumn<std::string>("name");
    QTest::addColumn<std::string>("address");
    QTest::addColumn<std::string>("expected");

    QTest::newRow("the same text twice") << "Max <m@x>"s
                                         << "Max <m@x>"s
                                         << "{Max|m@x}"s;
    QTest::newRow("no address") << "Max <m@x>"s
                                << ""s
                                << "{Max|m@x}"s;
    QTest::newRow("no name") << ""s
                             << "m@x"s
                             << "{|m@x}"s;
    QTest::newRow("both") << "Max, M\xC3\xBCller \"Q\""s
                          << "SMTP:m@x"s
                          << "{Max, M\xC3\xBCller \"Q\"|m@x}"s;
    QTest::newRow("name is the bare address") << "m@x"s
                                              << "SMTP:m@x"s
                                              << "{|m@x}"s;
    QTest::newRow("name wins over the name in the address") << "Boss"s
                                                            << "Max <m@x>"s
                                                            << "{Boss|m@x}"s;
    QTest::newRow("several addresses, one name") << "Team"s
                                                 << "a@x, b@y"s
                                                 << "25"s;
    QTest::newRow("line break in the name") << "Max\nBcc: b@y"s
                                            << "m@x"s
                                            << "25"s;
    QTest::newRow("bad address, good name") << "m@x"s
                                            << "???"s
                                            << "25"s;
    QTest::newRow("neither") << ""s
                             << ""s
                             << "25"s;
}

void TestMapiAddresses::nameAndAddress()
{
    QFETCH(std::string, name);
    QFETCH(std::string, address);
    QFETCH(std::string, expected);
    QCOMPARE(outcomeOf([&] { return mapi::mailboxesOf({MAPI_TO, name, address}); }), expected);
}

void TestMapiAddresses::headerText_data()
{
    QTest::addColumn<std::string>("text");
    QTest::addColumn<std::string>("expected");

    QTest::newRow("empty") << ""s
                           << ""s;
    QTest::newRow("plain") << "Your invoice: 17"s
                           << "Your invoice: 17"s;
    QTest::newRow("umlaut") << "M\xC3\xBCller"s
                            << "=?UTF-8?B?TcO8bGxlcg==?="s;
    QTest::newRow("looks encoded") << "=?x"s
                                   << "=?UTF-8?B?PT94?="s;
    QTest::newRow("blank in front") << " a"s
                                    << "=?UTF-8?B?IGE=?="s;
    QTest::newRow("blank behind") << "a "s
                                  << "=?UTF-8?B?YSA=?="s;
    QTest::newRow("two blanks") << "a  b"s
                                << "=?UTF-8?B?YSAgYg==?="s;
    QTest::newRow("control characters") << "a\x01\x7F"s
                                        << "=?UTF-8?B?YQF/?="s;
    QTest::newRow("tab") << "a\tb"s
                         << "=?UTF-8?B?YQli?="s;
    QTest::newRow("no word ends inside a character")
        << std::string(35, 'a') + "\xC3\xBC"
        << "=?UTF-8?B?YWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWFhYWE=?=\n =?UTF-8?B?w7w=?="s;
    QTest::newRow("folded at a blank") << "Lorem " + std::string(50, 'x') + " " + std::string(50, 'y')
                                       << "Lorem " + std::string(50, 'x') + "\n " + std::string(50, 'y');
}

void TestMapiAddresses::headerText()
{
    QFETCH(std::string, text);
    QFETCH(std::string, expected);
    QCOMPARE(mapi::encodeText(text), expected);
}

void TestMapiAddresses::headerTextNeverBreaksItsLimits()
{
    std::string words;
    std::string umlauts;
    for (int i = 0; i < 1000; ++i) {
        words += "word ";
        umlauts += "\xF0\x9F\x98\x80";
    }
    for (const std::string &text : {std::string(100000, 'a'), words, words + "x", umlauts, "a" + umlauts}) {
        const std::string encoded = mapi::encodeText(text);
        QVERIFY(longestLine(encoded) <= 76);
        QVERIFY(encoded.find("\n\n") == std::string::npos);
        QVERIFY(encoded.find("\n \n") == std::string::npos);
    }
}

void TestMapiAddresses::parameters_data()
{
    QTest::addColumn<std::string>("value");
    QTest::addColumn<std::string>("expected");

    QTest::newRow("plain") << "a b.txt"s
                           << ";\n name=\"a b.txt\""s;
    QTest::newRow("quote and backslash") << "a\"\\"s
                                         << ";\n name=\"a\\\"\\\\\""s;
    QTest::newRow("umlaut") << "\xC3\xBC.txt"s
                            << ";\n name*=UTF-8''%C3%BC.txt"s;
    QTest::newRow("looks encoded") << "=?x"s
                                   << ";\n name*=UTF-8''%3D%3Fx"s;
    QTest::newRow("blank at the end") << "a "s
                                      << ";\n name*=UTF-8''a%20"s;
    QTest::newRow("control character") << "a\x01"s
                                       << ";\n name*=UTF-8''a%01"s;
    QTest::newRow("reserved characters") << "\xC3\xBC'%*;"s
                                         << ";\n name*=UTF-8''%C3%BC%27%25%2A%3B"s;
    QTest::newRow("long") << std::string(61, 'a')
                          << ";\n name*0*=UTF-8''" + std::string(15, 'a')
            + ";\n name*1*=" + std::string(15, 'a') + ";\n name*2*=" + std::string(15, 'a')
            + ";\n name*3*=" + std::string(15, 'a') + ";\n name*4*=a";
    QTest::newRow("no piece ends inside a character")
        << std::string(14, ' ') + "\xC3\xBC" + std::string(5, ' ')
        << ";\n name*0*=UTF-8''%20%20%20%20%20%20%20%20%20%20%20%20%20%20;\n name*1*=%C3%BC%20%20%20%20%20"s;
}

void TestMapiAddresses::parameters()
{
    QFETCH(std::string, value);
    QFETCH(std::string, expected);
    const std::string encoded = mapi::encodeParameter("name", value);
    QCOMPARE(encoded, expected);
    QVERIFY(longestLine(encoded) <= 78);
}

void TestMapiAddresses::mailboxHeader_data()
{
    QTest::addColumn<std::string>("name");
    QTest::addColumn<std::string>("expected");

    QTest::newRow("none") << ""s
                          << "m@x"s;
    QTest::newRow("plain") << "Max M"s
                           << "Max M <m@x>"s;
    QTest::newRow("dot") << "J. M"s
                         << "\"J. M\" <m@x>"s;
    QTest::newRow("quote and backslash") << "a\"b\\c"s
                                         << "\"a\\\"b\\\\c\" <m@x>"s;
    QTest::newRow("closes the quote") << "x\" <evil@y>, \""s
                                      << "\"x\\\" <evil@y>, \\\"\" <m@x>"s;
    QTest::newRow("umlaut") << "M\xC3\xBCller"s
                            << "=?UTF-8?B?TcO8bGxlcg==?=\n <m@x>"s;
    QTest::newRow("control character") << "a\x01"s
                                       << "=?UTF-8?B?YQE=?=\n <m@x>"s;
}

void TestMapiAddresses::mailboxHeader()
{
    QFETCH(std::string, name);
    QFETCH(std::string, expected);
    QCOMPARE(mapi::encodeMailboxes({{name, "m@x"}}), expected);
    QCOMPARE(mapi::encodeMailboxes({{name, "m@x"}, {"", "b@y"}}), expected + ",\n b@y");
}

QTEST_GUILESS_MAIN(TestMapiAddresses)
#include "tst_mapiaddresses.moc"
