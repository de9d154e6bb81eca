// zktool: looks into, seeks in, indexes, checks, imports and packs dBASE and FoxPro tables.
// Exit status: 0 success (also when the reader of the output has gone), 1 failure with one line on
// standard error, 2 wrong usage.
#include <CLI/CLI.hpp>
#include <iostream>

#include "Commands.h"
#include "Table.h"

namespace {

using zk::tool::CatOptions;
using zk::tool::CheckOptions;
using zk::tool::ImportOptions;
using zk::tool::IndexOptions;
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
};

void addInfo(CLI::App &app, Options &options) {
  CLI::App *info = app.add_subcommand("info", "Show what a table is: version, size, fields, tags");
  info->add_option("TABLE", options.table, "The table (default extension DBF)")->required();
  info->footer("Example:\n  zktool info piping.dbf");
}

void addCat(CLI::App &app, Options &options) {
  CLI::App *cat = app.add_subcommand("cat", "Write a table's records to standard output");
  cat->add_option("TABLE", options.cat.table, "The table (default extension DBF)")->required();
  cat->add_option(
         "--format", options.cat.format,
         "table: aligned, UTF-8 (the default); csv: RFC 4180, bytes as they are; json: one "
         "array of objects, UTF-8")
      ->check(CLI::IsMember({"table", "csv", "json"}))
      ->type_name("FORMAT");
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
  pack->add_option("TABLE", options.table, "The table; no other program may have it open")
      ->required();
  pack->footer("Example:\n  zktool pack piping.dbf");
}

void run(const CLI::App &app, const Options &options, zk::tool::Output &out) {
  if (app.got_subcommand("info")) {
    zk::tool::runInfo(options.table, out);
  } else if (app.got_subcommand("cat")) {
    zk::tool::runCat(options.cat, out);
  } else if (app.got_subcommand("seek")) {
    zk::tool::runSeek(options.seek, out);
  } else if (app.got_subcommand("index")) {
    zk::tool::runIndex(options.index, out);
  } else if (app.got_subcommand("check")) {
    zk::tool::runCheck(options.check, out);
  } else if (app.got_subcommand("import")) {
    zk::tool::runImport(options.import, out);
  } else {
    zk::tool::runPack(options.table, out);
  }
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
        "Looks into, seeks in, indexes, checks, imports and packs dBASE and FoxPro tables.",
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
    run(app, options, out);
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
