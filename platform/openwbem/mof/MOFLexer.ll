/* SPDX-License-Identifier: Apache-2.0

   The tokens of MOF (DSP0004 Annex A). The text is scanned in place; the value of a token is a view
   of it.

   No pattern of more than one byte contains a zero byte: the scanner restarts a token at each one,
   so that a long token full of them would take time out of proportion to its length. */
%option reentrant bison-bridge noyywrap nodefault never-interactive nounput noinput nounistd
%option 8bit full caseless
%option prefix="openwbem_mof_"
%option extra-type="OpenWBEM::ScanState*"

%top{
#include <cstdint>
}
%{
#include "blocxx/Utf8.hpp"
#include "openwbem/text/Scanner.hpp"
#include "MOFGrammar.hpp"
#include "openwbem/text/Literals.hpp"

#define YYSTYPE OPENWBEM_MOF_STYPE

using OpenWBEM::CompileError;
using Type = OpenWBEM::CIMDataType;

namespace {

using OpenWBEM::inQuotes;

[[noreturn]] void fail(const char* at, std::string what) {
    throw CompileError{at, std::move(what)};
}

void checkUtf8(const char* text, size_t size) {
    const size_t invalid = blocxx::Utf8::findInvalid({text, size});
    if (invalid != std::string_view::npos) {
        fail(text + invalid, "invalid UTF-8");
    }
}

}  // namespace

#define TEXT_TOKEN(KIND)                                     \
    do {                                                     \
        yylval->text = {yytext, static_cast<uint32_t>(yyleng)}; \
        return TOKEN_##KIND;                                 \
    } while (false)
#define TYPE_TOKEN(KIND)                                                           \
    do {                                                                           \
        yylval->typeName = {yytext, static_cast<uint32_t>(yyleng), Type::KIND};    \
        return TOKEN_DATA_TYPE;                                                    \
    } while (false)
%}

%x COMMENT LINE_COMMENT

SPACE   [ \t\n\r\f\v]
LETTER  [A-Za-z_]
HIGH    [\x80-\xff]
NAME    {LETTER}[A-Za-z0-9_]*
WIDE    ({LETTER}|{HIGH})([A-Za-z0-9_]|{HIGH})*
SIGN    [+-]
INTEGER {SIGN}?([01]+b|0[0-7]+|[1-9][0-9]*|0|0x[0-9a-f]+)
REAL    {SIGN}?[0-9]*\.[0-9]+(e{SIGN}?[0-9]+)?
ESCAPE  \\[^\n\r\0]

%%

{SPACE}+                ;
"/*"                    { yyextra->comment = yytext; BEGIN(COMMENT); }
<COMMENT>{
    [^*\0]+             ;
    "*"+[^*/\0]         ;
    "*"+                ;
    "*"+"/"             { BEGIN(INITIAL); }
    \0                  ;
    <<EOF>>             { fail(yyextra->comment, "unterminated comment: expected '*/' before the "
                                                 "end of the text"); }
}
"//"                    { BEGIN(LINE_COMMENT); }
<LINE_COMMENT>{
    [^\n\r\0]+          ;
    \0                  ;
    [\n\r]              { BEGIN(INITIAL); }
    <<EOF>>             { BEGIN(INITIAL); return 0; }
}

"as"                    { TEXT_TOKEN(AS); }
"class"                 { TEXT_TOKEN(CLASS); }
"flavor"                { TEXT_TOKEN(FLAVOR); }
"instance"              { TEXT_TOKEN(INSTANCE); }
"of"                    { TEXT_TOKEN(OF); }
"qualifier"             { TEXT_TOKEN(QUALIFIER); }
"ref"                   { TEXT_TOKEN(REF); }
"scope"                 { TEXT_TOKEN(SCOPE); }
"true"                  { TEXT_TOKEN(TRUE); }
"false"                 { TEXT_TOKEN(FALSE); }
"null"                  { TEXT_TOKEN(NULL); }
"#"[ \t]*"pragma"       { TEXT_TOKEN(PRAGMA); }

"boolean"               { TYPE_TOKEN(BOOLEAN); }
"char16"                { TYPE_TOKEN(CHAR16); }
"datetime"              { TYPE_TOKEN(DATETIME); }
"real32"                { TYPE_TOKEN(REAL32); }
"real64"                { TYPE_TOKEN(REAL64); }
"sint8"                 { TYPE_TOKEN(SINT8); }
"sint16"                { TYPE_TOKEN(SINT16); }
"sint32"                { TYPE_TOKEN(SINT32); }
"sint64"                { TYPE_TOKEN(SINT64); }
"string"                { TYPE_TOKEN(STRING); }
"uint8"                 { TYPE_TOKEN(UINT8); }
"uint16"                { TYPE_TOKEN(UINT16); }
"uint32"                { TYPE_TOKEN(UINT32); }
"uint64"                { TYPE_TOKEN(UINT64); }

{NAME}                  { TEXT_TOKEN(NAME); }
{WIDE}                  { checkUtf8(yytext, yyleng); TEXT_TOKEN(NAME); }
"$"{NAME}               { TEXT_TOKEN(ALIAS); }
"$"{WIDE}               { checkUtf8(yytext, yyleng); TEXT_TOKEN(ALIAS); }

{INTEGER}               { TEXT_TOKEN(INTEGER); }
{REAL}                  { TEXT_TOKEN(REAL); }
{SIGN}?[0-9][0-9A-Za-z_.]* {
                          fail(yytext, inQuotes({yytext, static_cast<size_t>(yyleng)}) +
                                           " is not a number"); }

\"[^"\\\n\r\0\x80-\xff]*\"      { TEXT_TOKEN(STRING); }
\"([^"\\\n\r\0]|{ESCAPE})*\"    { checkUtf8(yytext, yyleng); TEXT_TOKEN(STRING); }
'([^'\\\n\r\0]|{ESCAPE})*'      { checkUtf8(yytext, yyleng); TEXT_TOKEN(CHAR); }
["']                            { // The scanner has overwritten the byte behind the quote.
                                  *yyg->yy_c_buf_p = yyg->yy_hold_char;
                                  OpenWBEM::failQuoted(yytext, yyextra->end,
                                                       *yytext == '"' ? "a string literal"
                                                                      : "a character literal"); }

[\[\](){}:;,=]          { return static_cast<unsigned char>(*yytext); }

\0                      { fail(yytext, "unexpected zero byte"); }
[^\0]                   { fail(yytext, "unexpected character " + inQuotes({yytext, 1})); }

%%
