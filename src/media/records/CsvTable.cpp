#include "media/records/CsvTable.h"

#include <vector>

#include "containers/Exception.h"
#include "media/records/Fields.h"
#include "media/records/RecordText.h"

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

/// The cells that a value has on a row, and their titles.
void addCells(Column const &column, bool named, std::vector<ColumnPart> &cells, std::string &titles) {
    std::vector<std::string> const &parts = column.division().parts;
    if (parts.empty()) {
        cells.emplace_back(column, "");
        append(titles, named ? column.name() : "value");
    }
    for (std::string const &part : parts) {
        cells.emplace_back(column, part);
        append(titles, named ? column.name() + "." + part : part);
    }
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
    std::vector<ColumnPart> cells;
    for (Column const &column : columns) {
        addCells(column, fields != nullptr, cells, titles);
        if (column.division().isList) steps.add(column.name(), column.count());
    }
    if (!header.empty() && titles != header)
        throw Exception("a table has the same columns throughout; here they are " + titles + ", and so far " + header);
    for (std::size_t i = 0; i < steps.count(); i++) {
        std::string line;
        for (ColumnPart const &cell : cells) append(line, cell.of(i));
        text += line + "\n";
    }
    if (header.empty()) text.insert(0, titles + "\n");
    header = titles;
    return text;
}

} // namespace zun::media
