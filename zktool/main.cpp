// zktool: looks into, seeks in, indexes, checks, imports and packs dBASE and FoxPro tables; reads
// and writes settings and message tables. Exit status: 0 success (also when the reader of the
// output has gone), 1 failure with one line on standard error, 2 wrong usage.
#include <CLI/CLI.hpp>
#include <functional>
#include <iostream>

#include "Commands.h"
#include "Table.h"

namespace {

using zk::tool::CatOptions;
using zk::tool::CheckOptions;
using zk::tool::ImportOptions;
using zk::tool::IndexOptions;
using zk::tool::IniOptions;
using zk::tool::MessagesOptions;
using zk::tool::Output;
using zk::tool::SeekOptions;

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr const char *kIndexHelp = "Open that index file as well (default extension CDX)";

struct Options {
  std::string table;  // of info and pack
  CatOptions cat;
  SeekOptions seek;
  IndexOptions index;
  CheckOptions check;
  ImportOptions import;
  IniOptions ini;
  MessagesOptions messages;
  std::string text;                      // of env expand
  std::function<void(Output &)> chosen;  // runs the command
};

template <typename Run>
void whenChosen(CLI::App *command, Options &options, Run run) {
  command->callback([&options, run] { options.chosen = run; });
}

void addFormat(CLI::App *command, std::string &format) {
  command
      ->add_option(
          "--format", format,
          "table: aligned, UTF-8 (the default); csv: RFC 4180, bytes as they are; json: one "
          "array of objects, UTF-8")
      ->check(CLI::IsMember({"table", "csv", "json"}))
      ->type_name("FORMAT");
}

void addInfo(CLI::App &app, Options &options) {
  CLI::App *info = app.add_subcommand("info", "Show what a table is: version, size, fields, tags");
  whenChosen(info, options, [&options](Output &out) { zk::tool::runInfo(options.table, out); });
  info->add_option("TABLE", options.table, "The table (default extension DBF)")->required();
  info->footer("Example:\n  zktool info piping.dbf");
}

void addCat(CLI::App &app, Options &options) {
  CLI::App *cat = app.add_subcommand("cat", "Write a table's records to standard output");
  whenChosen(cat, options, [&options](Output &out) { zk::tool::runCat(options.cat, out); });
  cat->add_option("TABLE", options.cat.table, "The table (default extension DBF)")->required();
  addFormat(cat, options.cat.format);
  cat->add_option("--limit", options.cat.limit, "Write at most N records")
      ->check(CLI::NonNegativeNumber)
      ->type_name("N");
  cat->add_option("--where", options.cat.where, "Write the records for which that condition holds")
      ->type_name("CONDITION");
  cat->add_flag("--deleted", options.cat.deleted, "Write the records marked as deleted as well");
  CLI::Option *order =
      cat->add_option("--order", options.cat.order, "Write the records in the order of that tag");
  order->type_name("TAG");
  cat->add_option("--index", options.cat.index, kIndexHelp)->type_name("FILE")->needs(order);
  cat->footer(
      "Examples:\n  zktool cat piping.dbf --limit 20\n"
      "  zktool cat piping.dbf --format csv > piping.csv\n"
      "  zktool cat piping --format json | jq '.[].TAG'\n"
      "  zktool cat piping.dbf --where \"LINE = 'CW' .AND. LENGTH > 2.5\" --order TAG_NO\n"
      "  zktool cat piping.dbf --order TAG_NO --index by_tag.cdx");
}

void addSeek(CLI::App &app, Options &options) {
  CLI::App *seek = app.add_subcommand("seek", "Show the record that a key finds in a tag");
  whenChosen(seek, options, [&options](Output &out) { zk::tool::runSeek(options.seek, out); });
  seek->add_option("TABLE", options.seek.table, "The table (default extension DBF)")->required();
  seek->add_option("KEY", options.seek.key,
                   "The key, or what it begins with; a number or a date (CCYYMMDD) in tags of such")
      ->required();
  seek->add_option("--tag", options.seek.tag, "The tag to seek in (default: the first)")
      ->type_name("NAME");
  seek->add_option("--index", options.seek.index, kIndexHelp)->type_name("FILE");
  seek->footer(
      "Without such a key the record with the next greater one is shown, and standard error says\n"
      "so. When there is none either, the exit status is 1.\n\n"
      "Examples:\n  zktool seek piping.dbf P-1001\n"
      "  zktool seek piping.dbf 20240131 --tag DUE\n"
      "  zktool seek piping.dbf -12.5 --index by_len.idx\n"
      "  zktool seek piping.dbf -- -A7");
}

void addIndex(CLI::App &app, Options &options) {
  CLI::App *index = app.add_subcommand("index", "Make tags for a table: in its index or another");
  whenChosen(index, options, [&options](Output &out) { zk::tool::runIndex(options.index, out); });
  index->add_option("TABLE", options.index.table, "The table (default extension DBF)")->required();
  index
      ->add_option("EXPRESSIONS", options.index.expressions,
                   "The key expressions, separated by commas: the tags TAG000, TAG001, ...")
      ->required();
  index
      ->add_option("--name", options.index.name,
                   "The index file (default extension CDX); without it the table's own, for which "
                   "no other program may have the table open")
      ->type_name("FILE");
  index->add_option("--tag", options.index.tag, "The name of the tag, for one expression")
      ->type_name("NAME");
  index->add_flag("--unique", options.index.unique, "Refuse records with equal keys");
  index
      ->add_option("--filter", options.index.filter,
                   "Only with the records for which that condition holds")
      ->type_name("CONDITION");
  index->add_flag("--descending", options.index.descending, "The order is from the greatest key");
  index->footer(
      "A tag of the same name is replaced; other tags of the file stay.\n\n"
      "Examples:\n  zktool index piping.dbf 'TAG, LINE + DTOS(INSTALLED)'\n"
      "  zktool index piping.dbf TAG --tag TAG_NO --unique\n"
      "  zktool index piping.dbf 'UPPER(TAG)' --name by_tag.cdx --filter '.NOT. DELETED()'");
}

void addCheck(CLI::App &app, Options &options) {
  CLI::App *check = app.add_subcommand("check", "Find out, or mend, what is wrong with a table");
  whenChosen(check, options, [&options](Output &out) { zk::tool::runCheck(options.check, out); });
  check->add_option("TABLE", options.check.table, "The table (default extension DBF)")->required();
  check
      ->add_option("--index", options.check.indexes,
                   "Check that index file as well (default extension CDX); may be repeated")
      ->type_name("FILE")
      ->allow_extra_args(false);
  check->add_flag("--repair", options.check.repair,
                  "Write damaged indexes anew and mend a wrong record count; no other program may "
                  "have the table open");
  check->footer(
      "Checks the table, its memo file and its production index, and every tag against the\n"
      "records. One line for each finding; exit status 1 when there are any, with --repair when\n"
      "any are left.\n\n"
      "Examples:\n  zktool check piping.dbf\n"
      "  zktool check piping.dbf --index by_tag.cdx --index by_line.cdx\n"
      "  zktool check piping.dbf --repair");
}

void addImport(CLI::App &app, Options &options) {
  CLI::App *import = app.add_subcommand("import", "Make a table from a CSV file, or add to one");
  whenChosen(import, options,
             [&options](Output &out) { zk::tool::runImport(options.import, out); });
  import->add_option("TABLE", options.import.table, "The table to make (default extension dbf)")
      ->required();
  import->add_option("FILE", options.import.csvFile, "CSV with a header line")->required();
  CLI::Option *fields =
      import->add_option("--fields", options.import.fields,
                         "The fields, as NAME,TYPE[,WIDTH[,DECIMALS]];...; without it types and "
                         "widths are chosen from the data");
  fields->type_name("LIST");
  import->add_flag("--append", options.import.append, "Add the rows to an existing table")
      ->excludes(fields);
  import->footer(
      "Nothing is changed unless every value fits.\n\n"
      "Examples:\n  zktool import piping.dbf piping.csv\n"
      "  zktool import stock.dbf stock.csv --fields 'NAME,C,20;QTY,N,8,2;DUE,D'\n"
      "  zktool import piping.dbf more.csv --append");
}

void addPack(CLI::App &app, Options &options) {
  CLI::App *pack = app.add_subcommand("pack", "Remove the records marked as deleted for good");
  whenChosen(pack, options, [&options](Output &out) { zk::tool::runPack(options.table, out); });
  pack->add_option("TABLE", options.table, "The table; no other program may have it open")
      ->required();
  pack->footer("Example:\n  zktool pack piping.dbf");
}

CLI::App *addIniCommand(CLI::App *ini, const char *name, const char *about, Options &options) {
  CLI::App *command = ini->add_subcommand(name, about);
  command->add_option("FILE", options.ini.file, "The INI file")->required();
  return command;
}

void addIni(CLI::App &app, Options &options) {
  CLI::App *ini = app.add_subcommand("ini", "Read and set variables of INI files");
  ini->require_subcommand(1);
  constexpr const char *kGroup = "The group";
  constexpr const char *kName = "The variable";

  CLI::App *get = addIniCommand(ini, "get", "Write the value of a variable", options);
  get->add_option("GROUP", options.ini.group, kGroup)->required();
  get->add_option("NAME", options.ini.name, kName)->required();
  get->footer("Example:\n  zktool ini get zk.ini GENERAL LANGUAGE");
  whenChosen(get, options, [&options](Output &out) { zk::tool::runIniGet(options.ini, out); });

  CLI::App *set = addIniCommand(ini, "set", "Set a variable", options);
  set->add_option("GROUP", options.ini.group, kGroup)->required();
  set->add_option("NAME", options.ini.name, kName)->required();
  set->add_option("VALUE", options.ini.value, "Its value")->required();
  set->footer(
      "File, group and variable are added where they are missing; everything else stays.\n\n"
      "Examples:\n  zktool ini set zk.ini GENERAL LANGUAGE GERMAN\n"
      "  zktool ini set zk.ini GENERAL OFFSET -- -5");
  whenChosen(set, options, [&options](Output &) { zk::tool::runIniSet(options.ini); });

  CLI::App *list = addIniCommand(ini, "list", "List the groups, or the variables of one", options);
  list->add_option("GROUP", options.ini.group, kGroup);
  list->footer("Examples:\n  zktool ini list zk.ini\n  zktool ini list zk.ini GENERAL");
  whenChosen(list, options, [&options](Output &out) { zk::tool::runIniList(options.ini, out); });
}

void addEnv(CLI::App &app, Options &options) {
  CLI::App *env = app.add_subcommand("env", "Look up settings");
  env->require_subcommand(1);
  CLI::App *expand = env->add_subcommand("expand", "Replace each %NAME% by that setting");
  expand->add_option("TEXT", options.text, "The text")->required();
  expand->footer(
      "A setting is the variable of [GENERAL] in zk.ini, else that of the environment; %% is a\n"
      "percent sign.\n\nExample:\n  zktool env expand '%JN%specs'");
  whenChosen(expand, options,
             [&options](Output &out) { zk::tool::runEnvExpand(options.text, out); });
}

void addMessagesDirectory(CLI::App *command, Options &options) {
  command
      ->add_option("--directory", options.messages.directory,
                   "The directory of the tables (default: \"language\" in the network directory, "
                   "which the setting JN names)")
      ->type_name("DIR");
}

void addMessages(CLI::App &app, Options &options) {
  CLI::App *messages =
      app.add_subcommand("messages", "Make and list tables of translated messages");
  messages->require_subcommand(1);

  CLI::App *import = messages->add_subcommand("import", "Put messages from a CSV file into tables");
  import->add_option("LANGUAGE", options.messages.language, "Such as GERMAN")->required();
  import
      ->add_option("FILE", options.messages.csvFile,
                   "CSV with the columns id, text and, where needed, english")
      ->required();
  addMessagesDirectory(import, options);
  import->footer(
      "The table of TOOL_216 is TOOL_<LANGUAGE>.dbf; an id without a number has one of its own, "
      "and\n"
      "its messages are found by the English text. Nothing is changed when a row is wrong.\n\n"
      "Examples:\n  zktool messages import GERMAN german.csv\n"
      "  zktool messages import GERMAN german.csv --directory ./language");
  whenChosen(import, options,
             [&options](Output &out) { zk::tool::runMessagesImport(options.messages, out); });

  CLI::App *list = messages->add_subcommand("list", "List the tables, or the texts of a language");
  list->add_option("LANGUAGE", options.messages.language, "Such as GERMAN");
  addFormat(list, options.messages.format);
  addMessagesDirectory(list, options);
  list->footer(
      "What --format csv writes can be imported again.\n\n"
      "Examples:\n  zktool messages list\n  zktool messages list GERMAN --format csv > german.csv");
  whenChosen(list, options,
             [&options](Output &out) { zk::tool::runMessagesList(options.messages, out); });
}

int wrongUsage(std::string text) {
  for (char &c : text) {
    if (c == '\n') c = ' ';
  }
  zk::tool::printMessage(text + " (see zktool --help)");
  return kWrongUsage;
}

}  // namespace

int main(int argc, char **argv) {
  zk::tool::Output out;
  try {
    Options options;
    CLI::App app(
        "Looks into, seeks in, indexes, checks, imports and packs dBASE and FoxPro tables; reads "
        "and "
        "writes settings and message tables.",
        "zktool");
    app.allow_windows_style_options(false);
    app.set_version_flag("--version", std::string("zktool ") + zk_Lib_version());
    app.require_subcommand(1);
    app.footer(
        "Exit status: 0 success, 1 failure, 2 wrong usage.\n"
        "'zktool COMMAND --help' tells more about a command.");
    addInfo(app, options);
    addCat(app, options);
    addSeek(app, options);
    addIndex(app, options);
    addCheck(app, options);
    addImport(app, options);
    addPack(app, options);
    addIni(app, options);
    addEnv(app, options);
    addMessages(app, options);
    try {
      app.parse(argc, argv);
    } catch (const CLI::Success &help) {
      std::ostringstream text;
      app.exit(help, text, text);
      out.write(text.str());
      out.flush();
      return 0;
    } catch (const CLI::ParseError &error) {
      return wrongUsage(error.what());
    }
    zk_Db_setLockAttempts(1);  // a table that others hold is reported, not waited for
    options.chosen(out);
    return 0;
  } catch (const zk::tool::ClosedPipe &) {
    return 0;
  } catch (const zk::tool::UsageError &error) {
    return wrongUsage(error.what());
  } catch (const std::exception &failure) {
    zk::tool::printMessage(failure.what());
  }
  return kFailed;
}
