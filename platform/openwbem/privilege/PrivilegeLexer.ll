/* SPDX-License-Identifier: Apache-2.0

   The tokens of a privilege configuration. The text is scanned in place; the value of a token is a
   view of it. Ambiguous text is an error.

   No pattern of more than one byte contains a zero byte: the scanner restarts a token at each one,
   so that a long token full of them would take time out of proportion to its length. */
%option reentrant bison-bridge noyywrap nodefault never-interactive nounput noinput nounistd
%option 8bit full
%option prefix="openwbem_privgrammar_"
%option extra-type="OpenWBEM::ScanState*"

%top{
#include <cstdint>
}
%{
#include "openwbem/text/Scanner.hpp"
#include "PrivilegeGrammar.hpp"
#include "openwbem/text/Literals.hpp"

#define YYSTYPE OPENWBEM_PRIVGRAMMAR_STYPE

using OpenWBEM::CompileError;

namespace {

using OpenWBEM::inQuotes;

[[noreturn]] void fail(const char* at, std::string what) {
    throw CompileError{at, std::move(what)};
}

struct Keyword {
    std::string_view word;
    int token;
};

// Path lists have the names of the POSIX calls that they allow. open has three, one for each access
// mode.
constexpr Keyword KEYWORDS[] = {
    {"unpriv_user", TOKEN_UNPRIV_USER},
    {"include", TOKEN_INCLUDE},
    {"open_r", TOKEN_PATHS},
    {"open_w", TOKEN_PATHS},
    {"open_rw", TOKEN_PATHS},
    {"read_dir", TOKEN_PATHS},
    {"stat", TOKEN_PATHS},
    {"readlink", TOKEN_PATHS},
    {"mkdir", TOKEN_PATHS},
    {"rmdir", TOKEN_PATHS},
    {"link", TOKEN_PATHS},
    {"symlink", TOKEN_PATHS},
    {"unlink", TOKEN_PATHS},
    {"rename", TOKEN_PATHS},
    {"chmod", TOKEN_PATHS},
    {"chown", TOKEN_PATHS},
    {"monitored_exec_check_args", TOKEN_MONITORED_COMMANDS},
    {"user_exec_check_args", TOKEN_USER_COMMANDS},
};

int keywordToken(std::string_view word) {
    std::string all;
    for (const Keyword& keyword : KEYWORDS) {
        if (keyword.word == word) {
            return keyword.token;
        }
        all += ' ';
        all += keyword.word;
    }
    fail(word.data(), "unknown keyword " + inQuotes(word) + "; the keywords are" + all);
}

[[noreturn]] void failByte(const char* at) {
    static const char DIGITS[] = "0123456789abcdef";
    const auto byte = static_cast<unsigned char>(*at);
    fail(at, std::string("unexpected control character 0x") + DIGITS[byte >> 4] + DIGITS[byte & 15]);
}

}  // namespace

#define TEXT_TOKEN(KIND)                                        \
    do {                                                        \
        yylval->text = {yytext, static_cast<uint32_t>(yyleng)}; \
        return KIND;                                            \
    } while (false)
%}

%x ITEMS

SPACE   [ \t\n\r\f\v]
FIRST   [^\x00-\x20\x7f"\\{}#@]
REST    [^\x00-\x20\x7f"\\{}]
BARE    {FIRST}{REST}*
QUOTED  \"([^"\\\n\r\0]|\\[^\n\r\0])*\"

%%

<*>{SPACE}+             ;
<*>"#"[^\n\r\0]*        ;

{BARE}                  { TEXT_TOKEN(keywordToken({yytext, static_cast<size_t>(yyleng)})); }
"{"                     { BEGIN(ITEMS); return '{'; }
"}"                     { return '}'; }
[@"\\]                  { fail(yytext, "expected a keyword; found " + inQuotes({yytext, 1})); }

<ITEMS>{
    {BARE}              { TEXT_TOKEN(TOKEN_ITEM); }
    {BARE}["\\]         { fail(yytext + yyleng - 1,
                               inQuotes({yytext + yyleng - 1, 1}) +
                                   " inside an item: put the whole item into double quotes"); }
    {QUOTED}            { TEXT_TOKEN(TOKEN_ITEM); }
    {QUOTED}[^\x00-\x20\x7f{}] {
                          fail(yytext + yyleng - 1, "expected a blank between this and the item "
                                                    "before it"); }
    "@"                 { return '@'; }
    "{"                 { return '{'; }
    "}"                 { BEGIN(INITIAL); return '}'; }
    \"                  { // The scanner has overwritten the byte behind the quote.
                          *yyg->yy_c_buf_p = yyg->yy_hold_char;
                          OpenWBEM::failQuoted(yytext, yyextra->end, "an item"); }
    "\\"                { fail(yytext, "'\\' outside quotes: put the whole item into double "
                                       "quotes"); }
}

<*>\0                   { fail(yytext, "unexpected zero byte"); }
<*>[^\0]                { failByte(yytext); }

%%
