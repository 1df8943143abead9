#include "handlers/brivet/brivet_kelbase_records_table.h"

#include "handlers/table/table_frame.h"
#include "model/health.h"

namespace IpSnmp {

struct BrivetKelbaseRecordsTable {
  using Entity = Health;
  using Rows = Health::Records;
  using Row = Rows::IteratorConst;

  static constexpr std::string_view name = "brivetKelbaseRecordsTable";
  static constexpr std::array<oid, 11> objectId{1, 3, 6, 1, 4, 1, 99999, 3, 2, 1, 9};
  static constexpr int modes = HANDLER_CAN_RONLY;
  // Freshens the sample: a request of the table begins here.
  static Rows const& rows(Entity const& health) { return health.records(); }

  static constexpr std::tuple indexes{component<IntegerSyntax<SharedTable>>(
      "brivetKelbaseRecordsOf", "table", [](SharedTable key) { return key; })};

  static constexpr std::array columns{column<Conversion::U32ToAsnUnsigned>(
      2, "brivetKelbaseRecords", "records",
      // A Gauge32 would stand at its maximum (RFC 2578 section 7.1.7); no table of this system
      // comes near.
      [](Row const& row) { return static_cast<std::uint32_t>(row.value()); })};
};

template class TableFunctions<BrivetKelbaseRecordsTable>;

}  // namespace IpSnmp
