// The Chinese of every note, by its code, in the order of the codes. Filters go by the captions and
// columns by the headings that the suite's users know.
#include <algorithm>
#include <stdexcept>

#include "host/general_notes.h"
#include "host/inventory_notes.h"
#include "host/sales_notes.h"

namespace ledgerwick {
namespace {

constexpr TextView kSeveralWarehouses =
    u"多个仓库之间以 AND 相连，没有任何记录能同时满足，报表为空。";
constexpr TextView kOneWarehouse = u"请只填一个仓库或不填仓库；需要多个仓库时逐个查询。";
constexpr TextView kLeaveOut = u"请勿填写该条件。";
constexpr TextView kExpiryDate = u"“审核日期”条件实际限定的是批次的失效日期（dVDate）。";
constexpr TextView kUseDate = u"请用“日期”（dDate）限定查询期间。";
constexpr TextView kLaterDate =
    u"“日期”（dDate）与“审核日期”（dVeriDate）同时填写时，以过滤条件中排在后面的为准，另一个不起作"
    u"用。";
constexpr TextView kOneDate = u"请只填其中一个。";
constexpr TextView kTextOrder = u"上下限按文本比较大小，9 排在 10 之后，因此没有记录满足条件。";
constexpr TextView kSameDigits = u"请填位数相同的上下限，或只填一端，其余自行筛选。";
constexpr TextView kBeginning = u"凡编码以所填内容开头的收发类别都会包括在内。";
constexpr TextView kWholeCode = u"请填写某一收发类别的完整编码。";
constexpr TextView kChangesNothing = u"该条件会被去掉，不起作用。";
constexpr TextView kFirstWarehouse = u"报表只取第一个值，作为单个仓库处理；上限不起作用。";
constexpr TextView kEachWarehouse = u"请只填一个仓库；需要多个仓库时逐个查询。";

constexpr ChineseNote kChinese[] = {
    {u"LW001", u"该报表没有这个名称的过滤条件。", u"请使用 `describe` 列出的过滤条件名称。"},
    {u"LW002", u"应填名称的地方填了标题。",
     u"请把过滤条件的名称填入 Name；命令行的 --filter 用名称或标题均可。"},
    {u"LW003", u"报表只按标题识别该过滤条件，而该项的标题不同或为空。",
     u"请把标题填入 strcaption。"},
    {u"LW004", u"同名的条件有多项：查询条件会包含全部各项，而由报表自行取值时只有其中一项有效。",
     u"请只保留一项。"},
    {u"LW005", u"该选项没有这个取值，查询结果与所填的值不符。", u"请填写规定的取值之一。"},
    {u"LW006", u"日期不存在。", u"请按 yyyy-mm-dd 的格式填写日期。"},
    {u"LW007", u"填写的不是数值。", u"请填写数值，例如 12.5。"},
    {u"LW008", u"报表需要登录信息，而请求中没有提供。",
     u"请用 --login-date 提供登录日期，用 --account 提供账套号，或在 \"login\" 中一并提供。"},
    {u"LW009", u"没有过滤条件集时，报表不执行查询。", u"请提供 \"filters\"，可以是空列表。"},
    {u"LW010", u"范围的上限小于下限，没有记录满足条件。", u"请先填下限，再填上限。"},
    {u"LW011", u"服务器的所有客户端共用结果表，其他人查询该报表时会覆盖表中内容。",
     u"请在他人查询该报表之前读取结果表；使用内嵌数据库时可由 `run` 直接读取。"},
    {u"LW012", u"结果表名以计算机名的前十个字符结尾，前十个字符相同的计算机会共用一张表。",
     u"请让各计算机名的前十个字符互不相同。"},
    {u"LW020", u"语句中应为条件的位置出现了 AND，服务器拒绝执行。",
     u"请用 `trace` 查看语句，并检查宿主程序拼写的条件。"},
    {u"LW021", u"语句中的引号或括号不配对，服务器拒绝执行。", u"请检查含有引号或括号的值和条件。"},
    {u"LW022", u"该值会突破引号：其中引号之后的内容会被当作 SQL 执行。",
     u"请去掉引号；在该条件中没有安全的写法。"},
    {u"LW023",
     u"查询条件较长，需经 tempdb..newReportParameter "
     u"传递；该表由所有客户端共用，两人同时查询可能取到对"
     u"方的条件。",
     u"请缩短查询条件，或错开查询时间。"},
    {u"LW024", u"查询条件的长度已接近限制。",
     u"请缩短查询条件：达到 200 起经共用表传递，超过 600 会被拒绝。"},
    {u"LW025", u"查询条件的长度超过 600，报表拒绝执行。", u"请缩短查询条件，用范围代替逐项列举。"},
    {u"LW026", u"长条件中成对的引号经参数表传递后会丢失，服务器拒绝执行该语句。",
     u"请把查询条件缩短到 200 以内，或将成对的引号加倍，或把含有引号的条件移离末尾。"},
    {u"LW027", u"长条件中的全角引号经参数表传递后会变为普通引号，从而突破所在的值。",
     u"请去掉全角引号。"},
    {u"LW028", u"报表在执行语句之前即出错结束。", u"请查看错误信息所指的内容。"},
    {u"LW030", u"当前数据库中没有这个值，没有记录满足条件。", u"请用 `query` 查询该值。"},
    {u"LW031", u"数据库拒绝执行该语句。",
     u"请检查错误信息所指的列，它来自某个过滤条件的名称或内容。"},
    {u"LW032", u"当前数据库的所有表中都没有该条件所用的列。", u"请使用该报表已有的过滤条件。"},

    {u"LW101", u"过滤条件集中没有 def_queryType 项时，最后一个过滤条件不会计入查询条件。",
     u"请在过滤条件集中加入 def_queryType 项，其值可以为空。"},

    {u"LW201", u"不填日期时，查询期间从 2001-11-01 开始，此前的数据计入期初结存。",
     u"请填写期间的开始日期。"},
    {u"LW202", u"只填截止日期时，期间从最早的日期开始，期初结存为 0。", u"请同时填写开始日期。"},
    {u"LW203", kSeveralWarehouses, kOneWarehouse},
    {u"LW204", kExpiryDate, kUseDate},
    {u"LW205", kLaterDate, kOneDate},
    {u"LW206", u"收发类别编码短于该级次编码长度的出入库记录，不计入任何一栏，也不计入合计。",
     u"需要全部合计时，请填级次 1 或不填。"},
    {u"LW207", u"类型为 34 的单据计入期初结存，但不计入本期；类型为 33 的单据两者均不计入。",
     u"与出入库流水帐核对时请注意：流水帐中两类单据都会列出。"},
    {u"LW208", u"成套件只在本期按组成件展开，其期初结存仍记在成套件自身的编码下。",
     u"请在不选“展开成套件”（ExtAcc）时查看期初结存和期末结存。"},
    {u"LW209", kBeginning, kWholeCode},

    {u"LW301", u"日期条件不起作用：期初与本期始终以 2001-10-01 为界。",
     u"请勿填写日期；需要指定期间时请使用收发存汇总表（clsRepSFC）。"},
    {u"LW302", kSeveralWarehouses, kOneWarehouse},
    {u"LW303", u"本期各栏包含 2001-10-01 起的全部数据，期初各栏包含此前的全部数据。",
     u"需要指定期间时请使用收发存汇总表（clsRepSFC）。"},
    {u"LW304",
     u"按件计量的存货，其期初件数为 2001-10-01 "
     u"之前的入库件数减去其余所有记录的件数，因此期初和期末件数"
     u"偏低。",
     u"此类存货请以数量为准。"},
    {u"LW305", u"该条件会作为同名的列写入查询条件，而语句所用的表中没有这一列，服务器拒绝执行。",
     kLeaveOut},

    {u"LW401", kSeveralWarehouses, kOneWarehouse},
    {u"LW402", kChangesNothing, kLeaveOut},
    {u"LW403",
     u"报表不认识的取值会作为 VeriType 列留在查询条件中，而所有表中都没有这一列，服务器拒绝执行。",
     u"请填写“全部单据”“已审核单据”或“未审核单据”。"},
    {u"LW404", kBeginning, kWholeCode},
    {u"LW405", u"没有过滤条件集时，记录不排序。",
     u"请提供过滤条件集（可以为空），记录将按日期排序。"},
    {u"LW406", u"入库记录的出库数量和金额显示为 0 而不是空，出库记录的入库数量和金额也是如此。",
     u"请按 SFBZ（入库或出库）区分。"},

    {u"LW501",
     u"期初结存为期间之前的入库减去其余所有记录（包括本期的记录），期末结存由此推算得出。",
     u"请只采用入库和出库各栏的数据。"},
    {u"LW502", u"不填开始日期时，所有数据都计入本期，期初结存等于全部数据的负数。",
     u"请填写期间的开始日期，或不使用期初结存。"},
    {u"LW503", u"只填截止日期时，没有记录计入本期，入库和出库均为 0。", u"请同时填写开始日期。"},
    {u"LW504", kExpiryDate, kUseDate},
    {u"LW505", kLaterDate, kOneDate},

    {u"LW601", u"批号中以及含通配符的条形码中的 %、_ 和 [ 与 * 和 ? 一样，会被数据库当作通配符。",
     u"请用包含该值的范围代替通配符，或在结果中自行查找。"},
    {u"LW602", kTextOrder, kSameDigits},
    {u"LW603", u"级次不是数值，或按文本比较小于 1 时，不起作用。", u"请填写不小于 1 的级次。"},
    {u"LW604", u"级次比所填更深的数据不会列出，也不会汇总到该级次。",
     u"需要全部数据时请勿填写级次。"},

    {u"LW701",
     u"只填存货状态（InvType）、过期天数（PassDays）或距失效天数（CloserDays）时，条件以 AND "
     u"开头并接在另一个 AND 之后，服务器拒绝执行该语句。",
     u"请再加一个不影响结果的条件，例如仓库编码（Warehouse.cWhCode）从 0 开始，或去掉这些条件。"},
    {u"LW702", kTextOrder, kSameDigits},
    {u"LW703", kTextOrder, kSameDigits},
    {u"LW704", kChangesNothing, kLeaveOut},

    {u"LW801", u"部门条件的前八个字符无论内容如何都会被截去，而该条件不是以 cDepCode 开头。",
     u"请让条件以 cDepCode 开头，或只填值而不填 strSqlString。"},
    {u"LW802", kFirstWarehouse, kEachWarehouse},
    {u"LW803", kFirstWarehouse, kEachWarehouse},
    {u"LW804", u"报表不会抛出数据库的错误，只是放弃执行，宿主程序无从得知原因。",
     u"请用 `run` 查看错误信息。"},
    {u"LW805", u"该报表尚未实现：只会报错，不产生数据。",
     u"请使用销售明细表，其中有每一行的毛利。"},
};

template <typename... Tables>
constexpr bool AreInChinese(const Tables&... tables) {
  const auto has_one_row = [](const Note& note) {
    return std::count_if(std::begin(kChinese), std::end(kChinese), [&](const ChineseNote& row) {
             return row.code == note.code && !row.does.empty() && !row.remedy.empty();
           }) == 1;
  };
  return (tables.size() + ...) == std::size(kChinese) &&
         (std::all_of(tables.begin(), tables.end(), has_one_row) && ...);
}
namespace stock = inventory_notes;
static_assert(AreInChinese(general_notes::kGeneralNotes, stock::kSafetyStockNotes,
                           stock::kBalanceNotes, stock::kLocationNotes, stock::kJournalNotes,
                           stock::kBatchNotes, stock::kCurrentStockNotes, stock::kShelfLifeNotes,
                           sales_notes::kSalesNotes, sales_notes::kSrmNotes,
                           sales_notes::kTrappedNotes, sales_notes::kProfitNotes),
              "every note has one row in kChinese");

}  // namespace

const ChineseNote& ChineseOf(const Note& note) {
  const auto* found = std::find_if(std::begin(kChinese), std::end(kChinese),
                                   [&](const ChineseNote& row) { return row.code == note.code; });
  if (found == std::end(kChinese)) throw std::out_of_range("no Chinese of " + ToUtf8(note.code));
  return *found;
}

}  // namespace ledgerwick
