#include "sample/reference_data.h"

#include <array>

namespace ledgerwick::sample {
namespace {

// clang-format off

constexpr std::array<Parameter, 8> kParameters = {{
    {u"AA", u"cGoodClass",   u"存货分类编码级次", u"222",     u"22222"},
    {u"AA", u"cPosLevel",    u"货位编码级次",     u"222",     u"222"},
    {u"AA", u"cDepLevel",    u"部门编码级次",     u"",        u"22"},
    {u"AA", u"cRdLevel",     u"收发类别编码级次", u"11",      u"11"},
    {u"AA", u"cCompanyName", u"单位名称",         u"江宁恒通商贸有限公司", u""},
    {u"AA", u"dStartDate",   u"启用日期",         u"2001-01-01", u""},
    {u"ST", u"bBatch",       u"有无批次管理",     u"True",    u"False"},
    {u"ST", u"bPosition",    u"有无货位管理",     u"True",    u"False"},
}};

constexpr std::array<CodeName, 8> kVoucherTypes = {{
    {u"01", u"采购入库单"},
    {u"08", u"其他入库单"},
    {u"09", u"其他出库单"},
    {u"10", u"产成品入库单"},
    {u"11", u"材料出库单"},
    {u"32", u"销售出库单"},
    {u"33", u"货位调整单"},
    {u"34", u"期初结存单"},
}};

constexpr std::array<CodeName, 3> kNoteTypes = {{
    {u"05", u"发货单"},
    {u"06", u"委托代销发货单"},
    {u"07", u"委托结算单"},
}};

constexpr std::array<CodeName, 4> kSaleTypes = {{
    {u"01", u"批发"},
    {u"02", u"零售"},
    {u"03", u"团购"},
    {u"04", u"委托代销"},
}};

constexpr std::array<CodeName, 3> kPurchaseTypes = {{
    {u"01", u"国内采购"},
    {u"02", u"代理采购"},
    {u"03", u"受托代销"},
}};

constexpr std::array<CodeName, 39> kInventoryClasses = {{
    {u"01",     u"食品饮料"},
    {u"0101",   u"饮料"},
    {u"010101", u"饮用水"},
    {u"010102", u"茶饮料"},
    {u"010103", u"果汁"},
    {u"010104", u"乳制品"},
    {u"0102",   u"休闲食品"},
    {u"010201", u"饼干糕点"},
    {u"010202", u"坚果炒货"},
    {u"010203", u"糖果巧克力"},
    {u"0103",   u"粮油调味"},
    {u"010301", u"食用油"},
    {u"010302", u"大米面粉"},
    {u"010303", u"酱油醋"},
    {u"0104",   u"生鲜冷冻"},
    {u"0105",   u"酒类"},
    {u"02",     u"日用百货"},
    {u"0201",   u"洗涤用品"},
    {u"020101", u"衣物洗涤"},
    {u"020102", u"洗发沐浴"},
    {u"0202",   u"纸品"},
    {u"0203",   u"文具"},
    {u"03",     u"服装面料"},
    {u"0301",   u"服装"},
    {u"030101", u"衬衫"},
    {u"030102", u"鞋类"},
    {u"0302",   u"面料"},
    {u"04",     u"家电五金"},
    {u"0401",   u"小家电"},
    {u"040101", u"厨房电器"},
    {u"040102", u"生活电器"},
    {u"0402",   u"五金线缆"},
    {u"05",     u"包装材料"},
    {u"0501",   u"纸箱"},
    {u"0502",   u"塑料包装"},
    {u"06",     u"组合商品"},
    {u"0601",   u"节日礼盒"},
    {u"07",     u"劳务费用"},
    {u"0701",   u"运输劳务"},
}};

constexpr std::array<CodeName, 15> kReceiveIssueTypes = {{
    {u"1",  u"入库类别"},
    {u"11", u"采购入库"},
    {u"12", u"产成品入库"},
    {u"13", u"其他入库"},
    {u"14", u"调拨入库"},
    {u"15", u"盘盈入库"},
    {u"16", u"销售退货"},
    {u"2",  u"出库类别"},
    {u"21", u"销售出库"},
    {u"22", u"材料领用"},
    {u"23", u"其他出库"},
    {u"24", u"调拨出库"},
    {u"25", u"盘亏出库"},
    {u"26", u"报损出库"},
    {u"3",  u"样品借还"},
}};

constexpr std::array<CodeName, 9> kDepartments = {{
    {u"01",   u"总经理室"},
    {u"02",   u"采购部"},
    {u"03",   u"销售部"},
    {u"0301", u"销售一部"},
    {u"0302", u"销售二部"},
    {u"0303", u"门市部"},
    {u"04",   u"仓储部"},
    {u"05",   u"包装车间"},
    {u"06",   u"财务部"},
}};

constexpr std::array<CodeName, 16> kMainUnits = {{
    {u"01", u"瓶"}, {u"02", u"盒"}, {u"03", u"袋"}, {u"04", u"公斤"}, {u"05", u"米"},
    {u"06", u"台"}, {u"07", u"件"}, {u"08", u"双"}, {u"09", u"支"},   {u"10", u"本"},
    {u"11", u"套"}, {u"12", u"罐"}, {u"13", u"桶"}, {u"14", u"包"},   {u"15", u"只"},
    {u"16", u"次"},
}};

constexpr std::array<UnitGroup, 13> kUnitGroups = {{
    {u"00",  u"无换算",           GroupType::None,     u"",   0},
    {u"101", u"箱装二十四",       GroupType::Fixed,    u"箱", 24},
    {u"102", u"箱装十二",         GroupType::Fixed,    u"箱", 12},
    {u"103", u"箱装六",           GroupType::Fixed,    u"箱", 6},
    {u"104", u"箱装二十",         GroupType::Fixed,    u"箱", 20},
    {u"105", u"提装十",           GroupType::Fixed,    u"提", 10},
    {u"106", u"打装十二",         GroupType::Fixed,    u"打", 12},
    {u"107", u"箱装四",           GroupType::Fixed,    u"箱", 4},
    {u"108", u"捆装五十",         GroupType::Fixed,    u"捆", 50},
    {u"201", u"面料按卷",         GroupType::Floating, u"卷", 50},
    {u"202", u"冻品按箱",         GroupType::Floating, u"箱", 20},
    {u"203", u"线缆按盘",         GroupType::Floating, u"盘", 100},
    {u"204", u"鲜果按筐",         GroupType::Floating, u"筐", 25},
}};

constexpr std::array<Partner, 24> kCustomers = {{
    {u"C0001", u"南京金陵百货股份有限公司",   u"金陵百货",   u"南京", u""},
    {u"C0002", u"苏州观前商厦有限公司",       u"观前商厦",   u"苏州", u""},
    {u"C0003", u"无锡太湖超市连锁有限公司",   u"太湖超市",   u"无锡", u""},
    {u"C0004", u"常州天宁副食品批发部",       u"天宁副食",   u"常州", u""},
    {u"C0005", u"镇江京口贸易有限公司",       u"京口贸易",   u"镇江", u""},
    {u"C0006", u"扬州瘦西湖宾馆",             u"瘦西湖宾馆", u"扬州", u""},
    {u"C0007", u"上海浦江食品有限公司",       u"浦江食品",   u"上海", u""},
    {u"C0008", u"杭州湖滨大酒店",             u"湖滨大酒店", u"杭州", u""},
    {u"C0009", u"宁波甬江商贸有限公司",       u"甬江商贸",   u"宁波", u""},
    {u"C0010", u"合肥庐阳百货大楼",           u"庐阳百货",   u"合肥", u""},
    {u"C0011", u"芜湖镜湖超市",               u"镜湖超市",   u"芜湖", u""},
    {u"C0012", u"南通濠河纺织品公司",         u"濠河纺织",   u"南通", u""},
    {u"C0013", u"徐州彭城家电有限公司",       u"彭城家电",   u"徐州", u""},
    {u"C0014", u"连云港海州商场",             u"海州商场",   u"连云港", u""},
    {u"C0015", u"泰州凤城粮油有限公司",       u"凤城粮油",   u"泰州", u""},
    {u"C0016", u"盐城大丰供销社",             u"大丰供销社", u"盐城", u""},
    {u"C0017", u"南京市鼓楼区第一小学",       u"鼓楼一小",   u"南京", u""},
    {u"C0018", u"江苏长江建设工程有限公司",   u"长江建设",   u"南京", u""},
    {u"C0019", u"马鞍山钢城服装店",           u"钢城服装",   u"马鞍山", u""},
    {u"C0020", u"淮安运河鞋业有限公司",       u"运河鞋业",   u"淮安", u""},
    {u"C0021", u"",                           u"零售散客",   u"南京", u""},
    {u"C0022", u"嘉兴南湖便利店有限公司",     u"南湖便利",   u"嘉兴", u""},
    {u"C0023", u"绍兴鉴湖酒楼",               u"鉴湖酒楼",   u"绍兴", u""},
    {u"C0024", u"",                           u"职工福利社", u"南京", u""},
}};

constexpr std::array<Partner, 18> kVendors = {{
    {u"V0001", u"浙江千岛泉饮用水有限公司",   u"千岛泉",     u"淳安", u"010101"},
    {u"V0002", u"安徽黄山茶叶饮品厂",         u"黄山茶饮",   u"黄山", u"010102"},
    {u"V0003", u"山东烟台果业有限公司",       u"烟台果业",   u"烟台", u"010103"},
    {u"V0004", u"内蒙古草原乳业有限公司",     u"草原乳业",   u"呼和浩特", u"010104"},
    {u"V0005", u"上海康达食品厂",             u"康达食品",   u"上海", u"0102"},
    {u"V0006", u"福建晋江糖果有限公司",       u"晋江糖果",   u"晋江", u"010203"},
    {u"V0007", u"江苏苏北粮油集团",           u"苏北粮油",   u"盐城", u"0103"},
    {u"V0008", u"镇江恒丰酱醋厂",             u"恒丰酱醋",   u"镇江", u"010303"},
    {u"V0009", u"大连海洋冷冻食品公司",       u"大连冷冻",   u"大连", u"0104"},
    {u"V0010", u"绍兴会稽酒业有限公司",       u"会稽酒业",   u"绍兴", u"0105"},
    {u"V0011", u"南京白云日化有限公司",       u"白云日化",   u"南京", u"0201"},
    {u"V0012", u"浙江富阳造纸厂",             u"富阳造纸",   u"富阳", u"0202"},
    {u"V0013", u"温州文成文具厂",             u"文成文具",   u"温州", u"0203"},
    {u"V0014", u"南通海门制衣有限公司",       u"海门制衣",   u"南通", u"0301"},
    {u"V0015", u"绍兴柯桥纺织有限公司",       u"柯桥纺织",   u"绍兴", u"0302"},
    {u"V0016", u"广东顺德电器有限公司",       u"顺德电器",   u"顺德", u"0401"},
    {u"V0017", u"无锡梁溪线缆厂",             u"梁溪线缆",   u"无锡", u"0402"},
    {u"V0018", u"",                           u"江宁包装",   u"南京", u"05"},
}};

constexpr std::array<Employee, 16> kEmployees = {{
    {u"0001", u"陈志远", u"01"},
    {u"0002", u"王海燕", u"02"},
    {u"0003", u"李建国", u"02"},
    {u"0004", u"赵敏",   u"02"},
    {u"0005", u"周立新", u"0301"},
    {u"0006", u"吴小红", u"0301"},
    {u"0007", u"郑伟民", u"0301"},
    {u"0008", u"孙丽华", u"0302"},
    {u"0009", u"钱卫东", u"0302"},
    {u"0010", u"冯春梅", u"0303"},
    {u"0011", u"蒋国平", u"04"},
    {u"0012", u"沈秀英", u"04"},
    {u"0013", u"韩冬",   u"05"},
    {u"0014", u"杨桂兰", u"05"},
    {u"0015", u"朱文静", u"06"},
    {u"0016", u"秦晓峰", u"06"},
}};

constexpr std::array<WarehouseRow, 8> kWarehouses = {{
    {u"01", u"原材料库", u"江宁开发区一号库",   u"蒋国平", false},
    {u"02", u"礼盒成品库", u"江宁开发区二号库", u"蒋国平", false},
    {u"03", u"食品库",   u"江宁开发区三号库",   u"沈秀英", true},
    {u"04", u"冷冻库",   u"江宁开发区冷库",     u"沈秀英", true},
    {u"05", u"百货库",   u"江宁开发区五号库",   u"沈秀英", true},
    {u"06", u"服装面料库", u"雨花台区铁心桥",   u"蒋国平", true},
    {u"07", u"家电五金库", u"雨花台区铁心桥",   u"蒋国平", true},
    {u"08", u"门市部",   u"鼓楼区中山北路",     u"冯春梅", false},
}};

constexpr std::array<FreeAttributes, 1> kNoVariants = {{{u"", u""}}};
constexpr std::array<FreeAttributes, 4> kColours = {{
    {u"藏青", u""}, {u"米白", u""}, {u"酒红", u""}, {u"墨绿", u""},
}};
constexpr std::array<FreeAttributes, 9> kColoursAndSizes = {{
    {u"白色", u"39"}, {u"白色", u"40"}, {u"白色", u"41"},
    {u"蓝色", u"39"}, {u"蓝色", u"40"}, {u"蓝色", u"41"},
    {u"灰色", u"39"}, {u"灰色", u"40"}, {u"灰色", u"41"},
}};
constexpr std::array<FreeAttributes, 6> kShoeSizes = {{
    {u"黑色", u"250"}, {u"黑色", u"255"}, {u"黑色", u"260"},
    {u"棕色", u"250"}, {u"棕色", u"255"}, {u"棕色", u"260"},
}};

constexpr std::array<KitPart, 12> kKitParts = {{
    {u"0601001", u"0105001", 2}, {u"0601001", u"010201002", 2}, {u"0601001", u"0501002", 1},
    {u"0601002", u"010202001", 3}, {u"0601002", u"010202002", 2}, {u"0601002", u"0501002", 1},
    {u"0601003", u"010203001", 4}, {u"0601003", u"010203002", 2}, {u"0601003", u"0502001", 1},
    {u"0601004", u"020102001", 2}, {u"0601004", u"0202001", 4},   {u"0601004", u"0502001", 1},
}};

// clang-format on

}  // namespace

std::span<const Parameter> Parameters() { return kParameters; }
std::span<const CodeName> VoucherTypes() { return kVoucherTypes; }
std::span<const CodeName> NoteTypes() { return kNoteTypes; }
std::span<const CodeName> SaleTypes() { return kSaleTypes; }
std::span<const CodeName> PurchaseTypes() { return kPurchaseTypes; }
std::span<const CodeName> InventoryClasses() { return kInventoryClasses; }
std::span<const CodeName> ReceiveIssueTypes() { return kReceiveIssueTypes; }
std::span<const CodeName> Departments() { return kDepartments; }
std::span<const CodeName> MainUnits() { return kMainUnits; }
std::span<const UnitGroup> UnitGroups() { return kUnitGroups; }
std::span<const Partner> Customers() { return kCustomers; }
std::span<const Partner> Vendors() { return kVendors; }
std::span<const Employee> Employees() { return kEmployees; }
std::span<const WarehouseRow> Warehouses() { return kWarehouses; }
std::span<const KitPart> KitParts() { return kKitParts; }

std::span<const FreeAttributes> Combinations(Variants variants) {
  switch (variants) {
    case Variants::None:
      return kNoVariants;
    case Variants::Colour:
      return kColours;
    case Variants::ColourAndSize:
      return kColoursAndSizes;
    case Variants::ShoeSize:
      return kShoeSizes;
  }
  return kNoVariants;
}

}  // namespace ledgerwick::sample
