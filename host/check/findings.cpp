// The table of promises, the lines they stand in, and findings as JSON.

#include "host/check/findings.h"

#include "host/check/contract_texts.h"

#include <cstring>
#include <iterator>
#include <nlohmann/json.hpp>

static constexpr Contract contracts[] = {
#define CONTRACT(name, call, file, anchor, sentence) {call, file, anchor, sentence},
#include "host/check/contracts.inc"
};

const Contract &ContractOf(Rule rule) { return contracts[size_t(rule)]; }
int ContractCount() { return int(std::size(contracts)); }

static const char *TextOf(const char *file)
{
    for (const ContractText *text = contractTexts; text->file; ++text)
        if (strcmp(text->file, file) == 0) return text->text;
    return nullptr;
}

int LineOf(const Contract &contract)
{
    const char *text = TextOf(contract.file);
    const char *found = text ? strstr(text, contract.anchor) : nullptr;
    if (!found) return 0;
    if (strstr(found + 1, contract.anchor)) return -1;
    int line = 1;
    for (const char *at = text; at < found; ++at) line += *at == '\n';
    return line;
}

std::string PlaceOf(const Contract &contract)
{
    const int line = LineOf(contract);
    return line > 0 ? std::string(contract.file) + ":" + std::to_string(line) : contract.file;
}

//---- JSON

using nlohmann::json;

std::string JsonOf(const Finding &finding)
{
    const json object = {{"level", finding.level},    {"check", finding.check},       {"effect", finding.effect},
                         {"call", finding.call},      {"done", finding.done},         {"expected", finding.expected},
                         {"contract", finding.where}, {"happened", finding.happened}, {"more", finding.again}};
    return object.dump(-1, ' ', false, json::error_handler_t::replace);   // a module's bytes may be any
}

bool FindingOf(const std::string &line, Finding &finding)
{
    const json object = json::parse(line, nullptr, false);
    if (!object.is_object()) return false;
    finding = {object.value("level", 0),     object.value("check", ""),    object.value("effect", ""),
               object.value("call", ""),     object.value("done", ""),     object.value("expected", ""),
               object.value("contract", ""), object.value("happened", ""), object.value("more", 0)};
    return true;
}
