#include "media/CsvTable.h"

#include <vector>

#include "containers/Exception.h"
#include "media/Fields.h"
#include "media/RecordText.h"

namespace zun::media {
namespace {

void append(std::string &line, std::string const &cell) {
    if (!line.empty()) line += ',';
    // Quoted are empty cells, too: a line with nothing in it would be no row.
    if (!cell.empty() && cell.find_first_of(",\"\r\n") == std::string::npos) {
        line += cell;
        return;
    }
    line += '"';
    for (char const c : cell) line += c == '"' ? std::string("\"\"") : std::string(1, c);
    line += '"';
}

void append(std::string &line, RecordTree const &cell) {
    if (std::string const *const text = cell.text()) requireUtf8(*text);
    append(line, plainText(cell));
}

void appendTitles(std::string &line, Column const &column, bool named) {
    std::vector<std::string> const &parts = column.division().parts;
    if (parts.empty()) append(line, named ? column.name() : "value");
    for (std::string const &part : parts) append(line, named ? column.name() + "." + part : part);
}

void appendCells(std::string &line, Column const &column, std::size_t index) {
    std::vector<std::string> const &parts = column.division().parts;
    if (parts.empty()) append(line, column.element(index));
    for (std::string const &part : parts) append(line, ColumnPart(column, part).of(index));
}

} // namespace

std::string CsvTable::rows(Variant const &value) {
    auto const *const fields = dynamic_cast<VariantType<Fields> const *>(&value);
    std::vector<Column> columns;
    if (fields == nullptr)
        columns.emplace_back("value", value);
    else
        for (Fields::Field const &field : fields->value.list) columns.push_back(field.column());

    Steps steps("field");
    std::string titles, text;
    for (Column const &column : columns) {
        appendTitles(titles, column, fields != nullptr);
        if (column.division().isList) steps.add(column.name(), column.count());
    }
    if (!header.empty() && titles != header)
        throw Exception("a table has the same columns throughout; here they are " + titles + ", and so far " + header);
    for (std::size_t i = 0; i < steps.count(); i++) {
        std::string line;
        for (Column const &column : columns) appendCells(line, column, i);
        text += line + "\n";
    }
    if (header.empty()) text.insert(0, titles + "\n");
    header = titles;
    return text;
}

} // namespace zun::media
