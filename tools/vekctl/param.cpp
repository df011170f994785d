// Single parameters of the live configuration.
#include <cmath>

#include "tools/failure.h"
#include "tools/vekctl/operation_commands.h"
#include "tools/vekctl/param_names.h"

namespace {

constexpr const char* kShaperFrequency = "R.B.CTRL.ISFrequency";

struct TypeRow {
  const char* name;
  ConfigType type;
  OperationKind getter;
};
constexpr TypeRow kTypes[] = {{"int", ConfigType::Int, OperationKind::GetInt32},
                              {"float", ConfigType::Double, OperationKind::GetFloat},
                              {"string", ConfigType::String, OperationKind::GetString}};

const TypeRow& RowOf(ConfigType type) {
  return kTypes[static_cast<std::size_t>(type)];
}

std::optional<ConfigType> GivenType(const ParamOptions& options) {
  if (options.type.empty()) return std::nullopt;
  for (const TypeRow& row : kTypes) {
    if (options.type == row.name) return row.type;
  }
  FailUsage("--type: '", options.type, "' is neither int, float nor string");
}

ConfigType TypeToGet(const ParamOptions& options) {
  if (const auto given = GivenType(options)) return *given;
  const auto word = FindParam(options.name);
  return word ? word->type : ConfigType::String;
}

ConfigType TypeToSet(const ParamOptions& options) {
  const auto given = GivenType(options);
  const auto word = FindParam(options.name);
  if (given && word && *given != word->type) {
    // Vek would write the words of one type over those of the other.
    FailUsage(options.name, ": is of type ", RowOf(word->type).name);
  }
  if (word) return word->type;
  return given.value_or(ParseInteger(options.value) ? ConfigType::Int : ConfigType::Double);
}

struct Setting {
  OperationKind kind;
  OperationRequest request;
  double number;  // as it was given
};

Setting PrepareSetting(const ParamOptions& options) {
  const ConfigType type = TypeToSet(options);
  if (type == ConfigType::String) {
    FailUsage(options.name, ": is a text, and no operation sets texts");
  }
  const bool is_int = type == ConfigType::Int;
  Setting setting{
      is_int ? OperationKind::SetInt32 : OperationKind::SetFloat, {.text = options.name}, 0};
  if (is_int) {
    setting.number = setting.request.value = ParseWord(options.value);
  } else {
    setting.request.real = ParseFloat(options.value);
    setting.number = ParseDouble(options.value).value_or(NAN);
  }
  return setting;
}

// Vek looks at the frequency in every cycle, but arms the shaper only when the body begins to
// stream.
void CheckShaper(const Setting& setting) {
  if (setting.request.text != kShaperFrequency || setting.request.real == 0) return;
  const AreaView cfg(kCfgConfigArea);
  const AreaView sys(kSysInfoArea);
  const GroupRow& body = *FindGroup("body");
  if (shared::load(cfg.get(), SHARED_FIELD(CfgConfig, body.ISFrequency)) != 0) return;
  if (GroupState(sys, body) != GROUP_STATE_POSITION) return;
  Fail(kShaperFrequency,
       ": not from 0 while the body streams: if its shaper was never armed, every position it "
       "blends would become 0 (take the body out of POSITION first, or --force)");
}

std::pair<const char*, std::string> NameMember(const ParamOptions& options) {
  return {"parameter", JsonText(options.name)};
}

// Tells of a value that was set by the text that the document now holds.
int TellStored(const ParamOptions& options, const Setting& setting, const OperationEnd& set,
               const OperationEnd& stored) {
  const std::string& text = stored.reply.text;
  Telling telling = TellingOf(set, options.name, Text(options.name, ": set to ", text));
  telling.members = {NameMember(options), {"stored", JsonText(text)}};
  if (!stored.Done()) {
    telling.trouble = Text("done, but not read back: ", stored.Words());
  } else if (text.empty()) {
    telling.trouble = "nothing changed: its section has no such key";
  } else if (ParseDouble(text) != setting.number) {
    telling.text += Text(", which is how robot.ini will hold ", options.value);
  }
  return Tell(options, set, telling);
}

}  // namespace

int RunParamGet(const ParamOptions& options) {
  const OperationKind getter = RowOf(TypeToGet(options)).getter;
  const OperationEnd end = AskFor(getter, {.text = options.name}, options);
  Telling telling = TellingOf(end, options.name, end.Result());
  telling.members = {NameMember(options)};
  return Tell(options, end, telling);
}

int RunParamSet(const ParamOptions& options) {
  const Setting setting = PrepareSetting(options);
  SettleRoot(options.root);
  if (!options.force) CheckShaper(setting);
  const OperationEnd set = AskFor(setting.kind, setting.request, options);
  if (set.Done()) {
    return TellStored(options, setting, set,
                      AskFor(OperationKind::GetString, {.text = options.name}, options));
  }
  Telling telling = TellingOf(set, options.name, "");
  telling.members = {NameMember(options)};
  return Tell(options, set, telling);
}

int RunParamSave(const OperationOptions& options) {
  const OperationEnd end = AskFor(OperationKind::SaveRobotIni, {}, options);
  return Tell(options, end, TellingOf(end, "robot.ini", "robot.ini: saved"));
}
