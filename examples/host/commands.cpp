// commands.cpp: the commands of zorvat-host (format, plugin, help, who,
// path, clear, exit; save and load in save_load.cpp), written as words:
// "plugin load quaternion".
#include <cstdlib>
#include <cstring>

#include "display/display_format.h"
#include "host/console.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "plugin/plugin_manager.h"
#include "builtins.h"
#include "control.h"
#include "session.h"

namespace zorvat_host {

using zorvat::str_format;
using zorvat::tr;

namespace {

struct format_word {
  const char* word;
  int format;   // -1: leaves the numeric format
  int spacing;  // -1: leaves the spacing
};
const format_word format_words[] = {
    {"short", 0, -1}, {"long", 1, -1}, {"shorte", 2, -1}, {"longe", 3, -1},  {"hex", 8, -1},
    {"+", 9, -1},     {"compact", -1, 0}, {"loose", -1, zorvat::internal::loose_spacing_word},
};

void out(const std::string& text) { zorvat::write_to_cout_flush(text); }

std::string host_help() {
  std::string names = "   ";
  size_t line = names.size();
  for (const char* b : builtin_names()) {
    if (line + 1 + std::strlen(b) > 78) names += "\n   ", line = 3;
    names += std::string(" ") + b;
    line += 1 + std::strlen(b);
  }
  return str_format(tr(
      "zorvat-host：libzorvat_core 的参考宿主程序。\n"
      "  name = expr      赋值；expr 单独成句时以 ans 显示；句末的 ; 不显示结果；%% 之后是注释\n"
      "  数值 1 2.5 1e3 2i Inf NaN，true/false，矩阵 [1 2; 3 4]，'字符数组'，\"字符串\"，单元 {1, 'a'}\n"
      "  内置函数（help NAME 显示各自的说明）：\n%s\n"
      "  插件函数 f(a, b)；[a, b] = f(x) 取多个输出；函数句柄 f = @name 可以像函数一样调用 f(x)\n"
      "  运算符 + - .* ./ .\\ .^ < > <= >= ~= == & | 与一元 - + ~、' .' 逐元素计算（标量自动扩展），\n"
      "  * 是矩阵乘法；范围 a:b、a:s:b；下标 x(i)、x(i,j)、x(:)、x(end)、c{i}、s.name\n"
      "  赋值 x(2,3) = 5、c{3}.x = 1、s(2).a = 1；删除 x(:, 2) = []\n"
      "  if/elseif/else/end、for v = expr ... end（逐列）、while ... end、break、continue，\n"
      "  可以写在一行（用 , 或 ; 分隔）或多行中。插件对象参与的运算交给插件处理。\n"
      "命令：format short|long|shorte|longe|hex|+|compact|loose，plugin load NAME [参数...]，\n"
      "  plugin unload NAME，plugin list，help NAME，who，path，clear [NAME...]，exit [N]\n"), names.c_str());
}

}  // namespace

const char* const command_words[] = {"format", "plugin", "help", "who", "path", "clear", "exit", "save", "load"};
const size_t command_count = sizeof command_words / sizeof command_words[0];

bool session::is_known_name(const std::string& name) const {
  for (const auto& n : known_names())
    if (n == name) return true;
  return false;
}

std::vector<std::string> session::known_names() const {
  std::vector<std::string> names(command_words, command_words + command_count);
  for (const auto& v : vars_) names.push_back(v.first);
  for (const char* b : builtin_names()) names.push_back(b);
  for (const char* k : block_keywords()) names.push_back(k);
  if (plugins_.empty()) return names;  // no need to start the plugin manager
  auto& mgr = zorvat::global::plugin_mgr();
  for (const auto& p : plugins_)
    if (mgr.is_loaded(p))
      for (const auto& f : mgr.get_export_function_list(p)) names.push_back(f);
  return names;
}

bool session::run_command(const std::vector<std::string>& w) {
  const std::string& cmd = w[0];
  if (cmd == "exit") {
    if (w.size() > 2 || (w.size() == 2 && (w[1].size() > 3 || w[1].find_first_not_of("0123456789") != std::string::npos ||
                                           std::atoi(w[1].c_str()) > 255)))
      throw host_error(tr("用法：exit [N]，N 是 0 到 255 之间的整数"), 0);
    if (w.size() == 2) exit_status_ = std::atoi(w[1].c_str());
    exit_ = true;
    return true;
  }
  if (cmd == "save" || cmd == "load") {
    run_save_load(w);
    return true;
  }
  if (cmd == "format") {
    if (w.size() == 1) {
      zorvat::global::fmt_fl = {0, zorvat::internal::loose_spacing_word};
      return true;
    }
    for (size_t k = 1; k < w.size(); ++k) {
      const format_word* f = nullptr;
      for (const auto& fw : format_words)
        if (w[k] == fw.word) f = &fw;
      if (!f) throw host_error(str_format(tr("未知的显示格式 %s"), w[k].c_str()), 0);
      if (f->format >= 0) zorvat::global::fmt_fl.format = f->format;
      if (f->spacing >= 0) zorvat::global::fmt_fl.spacing = f->spacing;
    }
    return true;
  }
  if (cmd == "who") {
    if (vars_.empty()) return true;
    std::string text = tr("工作区中的变量：") + std::string("\n\n ");
    for (const auto& v : vars_) text += " " + v.first;
    out(text + "\n\n");
    return true;
  }
  if (cmd == "path") {
    std::string text;
    for (const auto& p : path_) text += p + "\n";
    out(text);
    return true;
  }
  if (cmd == "clear") {
    if (w.size() == 1) vars_.clear();
    for (size_t k = 1; k < w.size(); ++k) vars_.erase(w[k]);
    return true;
  }
  if (cmd == "help") {
    if (w.size() == 1) {
      out(host_help() + save_load_help(""));
      return true;
    }
    if (const char* h = save_load_help(w[1])) {
      out(h);
      return true;
    }
    std::vector<const char*> language(command_words, command_words + command_count);
    for (const char* k : block_keywords()) language.push_back(k);
    for (const char* c : language)
      if (w[1] == c) {
        out(host_help() + save_load_help(""));
        return true;
      }
    if (const char* b = builtin_help(w[1])) {
      out(b + std::string("\n"));
      return true;
    }
    const char* h = zorvat::global::plugin_mgr().get_function_help_by_name(w[1]);
    if (!h && !is_known_name(w[1])) throw host_error(str_format(tr("未知的名称 %s"), w[1].c_str()), 0);
    if (!h) throw host_error(str_format(tr("%s 没有帮助文本"), w[1].c_str()), 0);
    out(std::string(h) + "\n");
    return true;
  }
  // plugin load|unload|list
  auto& mgr = zorvat::global::plugin_mgr();
  const std::string sub = w.size() > 1 ? w[1] : "";
  if (sub == "list" && w.size() == 2) {
    std::string text;
    for (const auto& name : plugins_) {
      if (!mgr.is_loaded(name)) continue;
      text += name + ":";
      for (const auto& f : mgr.get_export_function_list(name)) text += " " + f;
      text += "\n";
    }
    out(text);
    return true;
  }
  if (sub == "load" && w.size() >= 3) {
    std::string root = opts_.plugin_root;
    if (root.empty() && std::getenv("ZORVAT_PLUGIN_PATH")) root = std::getenv("ZORVAT_PLUGIN_PATH");
    if (root.empty()) throw host_error(tr("没有插件根目录：请用 --plugin-root 或环境变量 ZORVAT_PLUGIN_PATH 指定"), 0);
    // The plugin's init sees the arguments from the second one on, so the
    // plugin's name goes first and the words after it reach the plugin.
    std::vector<zo_obj> values;
    for (size_t k = 2; k < w.size(); ++k) values.emplace_back(w[k].c_str(), zorvat::type_char);
    std::vector<const __zxArray*> args;
    for (const auto& v : values) args.push_back(reinterpret_cast<const __zxArray*>(&v));
    if (mgr.add(w[2], args, root) != 0) throw host_error(mgr.error_msg(), 0);
    plugins_.insert(w[2]);
    // A built-in function keeps its name; the plugin's is reached as plug::f.
    for (const auto& f : mgr.get_export_function_list(w[2]))
      if (find_builtin(f))
        zorvat::write_to_cerr_flush(str_format(tr("警告：插件 %s 的函数 %s 与内置函数同名；用 %s::%s(...) 调用它"),
                                               w[2].c_str(), f.c_str(), w[2].c_str(), f.c_str()) +
                                    "\n");
    return true;
  }
  if (sub == "unload" && w.size() == 3) {
    const int status = mgr.remove(w[2]);
    if (status == 0 || status == 6) plugins_.erase(w[2]);
    if (status != 0) throw host_error(mgr.error_msg(), 0);
    return true;
  }
  throw host_error(tr("用法：plugin load NAME [参数...] | plugin unload NAME | plugin list"), 0);
}

}  // namespace zorvat_host
