-- The procedures behind the sales reports, in T-SQL that any version of the server runs.
--
-- A report hands over the name of its result table and conditions as text; the procedure puts them
-- behind a WHERE over SaleInvoiceView or SaleNoteView, joined with Inventory, and makes the table
-- anew in tempdb. Conditions are trusted as they are: whoever may call a procedure may run any
-- SELECT with the login's rights. Plain values (dates, a warehouse, an account) are quoted here.
--
-- Conditions arrive as long varchar, which a server does not turn into nvarchar by itself.

-- The condition that was too long for an argument and waits in the parameter table.
CREATE PROCEDURE newReport_ParameterFromTempTable
  @condition nvarchar(4000) OUTPUT
AS
  SELECT @condition = name FROM tempdb..newReportParameter
GO

-- Adds a condition to the end of a WHERE; a blank one changes nothing. The name of the procedure
-- above stands for the condition in the parameter table.
CREATE PROCEDURE Sa_AddCondition
  @where nvarchar(4000) OUTPUT,
  @condition nvarchar(4000)
AS
  IF @condition = 'newReport_ParameterFromTempTable'
    EXEC newReport_ParameterFromTempTable @condition OUTPUT
  IF @condition <> ''
    SET @where = @where + N' AND (' + @condition + N')'
GO

-- The same for a comparison with a plain value, which is left out when it is blank.
CREATE PROCEDURE Sa_AddComparison
  @where nvarchar(4000) OUTPUT,
  @comparison nvarchar(100),
  @value nvarchar(400)
AS
  IF @value <> ''
    SET @where = @where + N' AND ' + @comparison + N' N''' + REPLACE(@value, '''', '''''') + N''''
GO

-- Drops a result table of an earlier run.
CREATE PROCEDURE Sa_DropResult
  @table nvarchar(128)
AS
  IF EXISTS (SELECT * FROM tempdb..sysobjects WHERE name = @table)
    EXEC (N'DROP TABLE tempdb..' + @table)
GO

-- What the sales summary and the sales detail are handed, as one WHERE. The department's comparison
-- comes without its column.
CREATE PROCEDURE Sa_InvoiceConditions
  @where nvarchar(4000) OUTPUT,
  @condition varchar(8000),
  @saledate varchar(8000),
  @keepdate varchar(8000),
  @department varchar(8000),
  @checker varchar(8000),
  @warehouse varchar(8000)
AS
  SET @where = N'1 = 1'
  EXEC Sa_AddCondition @where OUTPUT, @condition
  EXEC Sa_AddCondition @where OUTPUT, @saledate
  EXEC Sa_AddCondition @where OUTPUT, @keepdate
  IF @department <> ''
    SET @where = @where + N' AND (cDepCode' + @department + N')'
  EXEC Sa_AddCondition @where OUTPUT, @checker
  EXEC Sa_AddComparison @where OUTPUT, N'cWhCode =', @warehouse
GO

-- Sales summary: what was invoiced, by department, customer and item.
CREATE PROCEDURE Sa_MoveSaleDetail
  @chrtable nvarchar(128),
  @chrWhere1 varchar(8000),
  @chrsaledate varchar(8000),
  @chrkeepdate varchar(8000),
  @chrdep varchar(8000),
  @chrchecker varchar(8000),
  @chrwarehouse varchar(8000)
AS
  DECLARE @where nvarchar(4000)
  EXEC Sa_InvoiceConditions @where OUTPUT, @chrWhere1, @chrsaledate, @chrkeepdate, @chrdep, @chrchecker,
    @chrwarehouse
  EXEC Sa_DropResult @chrtable
  EXEC (N'SELECT cDepCode AS 部门编码, cDepName AS 部门名称, cCusCode AS 客户编码, cCusAbbName AS 客户名称,
    Inventory.cInvCode AS 存货编码, cInvName AS 存货名称, cInvStd AS 规格型号,
    SUM(iQuantity) AS 数量, SUM(iNum) AS 件数,
    SUM(iMoney) AS 金额, SUM(iTax) AS 税额, SUM(iMoney + iTax) AS 价税合计
  INTO tempdb..' + @chrtable + N'
  FROM SaleInvoiceView INNER JOIN Inventory ON SaleInvoiceView.cInvCode = Inventory.cInvCode
  WHERE ' + @where + N'
  GROUP BY cDepCode, cDepName, cCusCode, cCusAbbName, Inventory.cInvCode, cInvName, cInvStd')
GO

-- Sales detail: the lines of the invoices with their cost.
CREATE PROCEDURE Sa_MoveSaleDetailCost
  @chrtable nvarchar(128),
  @chrWhere1 varchar(8000),
  @chrsaledate varchar(8000),
  @chrkeepdate varchar(8000),
  @chrdep varchar(8000),
  @chrchecker varchar(8000),
  @chrwarehouse varchar(8000)
AS
  DECLARE @where nvarchar(4000)
  EXEC Sa_InvoiceConditions @where OUTPUT, @chrWhere1, @chrsaledate, @chrkeepdate, @chrdep, @chrchecker,
    @chrwarehouse
  EXEC Sa_DropResult @chrtable
  EXEC (N'SELECT dDate AS 开票日期, cInvoiceCode AS 发票号, cDepName AS 部门名称, cCusAbbName AS 客户名称,
    cWhCode AS 仓库编码, Inventory.cInvCode AS 存货编码, cInvName AS 存货名称, cInvStd AS 规格型号,
    iQuantity AS 数量, iUnitPrice AS 单价, iMoney AS 金额, iTax AS 税额,
    ISNULL(iCost, 0) AS 成本, iMoney - ISNULL(iCost, 0) AS 毛利
  INTO tempdb..' + @chrtable + N'
  FROM SaleInvoiceView INNER JOIN Inventory ON SaleInvoiceView.cInvCode = Inventory.cInvCode
  WHERE ' + @where)
GO

-- Sales income: what was invoiced and what has been paid for it, by customer and item.
CREATE PROCEDURE Sa_MoveSaleInCome
  @chrtable nvarchar(128),
  @chrWhere1 varchar(8000),
  @chrZtCode nvarchar(20)
AS
  DECLARE @where nvarchar(4000)
  SET @where = N'1 = 1'
  EXEC Sa_AddCondition @where OUTPUT, @chrWhere1
  SET @chrZtCode = REPLACE(@chrZtCode, '''', '''''')
  EXEC Sa_DropResult @chrtable
  EXEC (N'SELECT N''' + @chrZtCode + N''' AS 账套号, cCusCode AS 客户编码, cCusAbbName AS 客户名称,
    Inventory.cInvCode AS 存货编码, cInvName AS 存货名称, SUM(iQuantity) AS 数量,
    SUM(iMoney) AS 收入, SUM(iTax) AS 税额, SUM(ISNULL(iPaid, 0)) AS 已收款,
    SUM(iMoney + iTax - ISNULL(iPaid, 0)) AS 未收款
  INTO tempdb..' + @chrtable + N'
  FROM SaleInvoiceView INNER JOIN Inventory ON SaleInvoiceView.cInvCode = Inventory.cInvCode
    LEFT JOIN (SELECT InvoiceLineID, SUM(iMoney) AS iPaid FROM SalePayment GROUP BY InvoiceLineID) AS Paid
      ON SaleInvoiceView.AutoID = Paid.InvoiceLineID
  WHERE ' + @where + N'
  GROUP BY cCusCode, cCusAbbName, Inventory.cInvCode, cInvName')
GO

-- Sales cost: income against cost, by item.
CREATE PROCEDURE Sa_MoveSaleCostDetail
  @chrtable nvarchar(128),
  @chrWhere1 varchar(8000)
AS
  DECLARE @where nvarchar(4000)
  SET @where = N'1 = 1'
  EXEC Sa_AddCondition @where OUTPUT, @chrWhere1
  EXEC Sa_DropResult @chrtable
  EXEC (N'SELECT cInvCCode AS 存货分类编码, Inventory.cInvCode AS 存货编码, cInvName AS 存货名称,
    SUM(iQuantity) AS 数量, SUM(iMoney) AS 收入, SUM(ISNULL(iCost, 0)) AS 成本,
    SUM(iMoney - ISNULL(iCost, 0)) AS 毛利,
    CASE WHEN SUM(iMoney) = 0 THEN NULL
      ELSE ROUND(CONVERT(float, SUM(iMoney - ISNULL(iCost, 0))) / SUM(iMoney) * 100, 2) END AS 毛利率
  INTO tempdb..' + @chrtable + N'
  FROM SaleInvoiceView INNER JOIN Inventory ON SaleInvoiceView.cInvCode = Inventory.cInvCode
  WHERE ' + @where + N'
  GROUP BY cInvCCode, Inventory.cInvCode, cInvName')
GO

-- Consignment: lines dispatched on consignment with what was invoiced and paid of them. The
-- dispatch date chooses the lines; the dates of invoices and payments choose what counts.
CREATE PROCEDURE Sa_MoveConsignment
  @chrtable nvarchar(128),
  @chrWhere1 varchar(8000),
  @chrWhere2 varchar(8000),
  @chrConDate varchar(8000),
  @chrSaleDate varchar(8000),
  @chrPayDate varchar(8000)
AS
  DECLARE @where nvarchar(4000), @invoices nvarchar(4000), @payments nvarchar(4000)
  SET @where = N'cVouchType = ''06'''
  SET @invoices = N'1 = 1'
  SET @payments = N'1 = 1'
  EXEC Sa_AddCondition @where OUTPUT, @chrWhere1
  EXEC Sa_AddCondition @where OUTPUT, @chrWhere2
  EXEC Sa_AddCondition @where OUTPUT, @chrConDate
  EXEC Sa_AddCondition @invoices OUTPUT, @chrSaleDate
  EXEC Sa_AddCondition @payments OUTPUT, @chrPayDate
  EXEC Sa_DropResult @chrtable
  EXEC (N'SELECT dDate AS 发货日期, cDLCode AS 发货单号, cCusAbbName AS 客户名称, cWhCode AS 仓库编码,
    Inventory.cInvCode AS 存货编码, cInvName AS 存货名称, iQuantity AS 发货数量, iMoney AS 发货金额,
    ISNULL(iInvoicedQuantity, 0) AS 开票数量, ISNULL(iInvoicedMoney, 0) AS 开票金额,
    ISNULL(iPaid, 0) AS 收款金额, iQuantity - ISNULL(iInvoicedQuantity, 0) AS 未结数量
  INTO tempdb..' + @chrtable + N'
  FROM SaleNoteView INNER JOIN Inventory ON SaleNoteView.cInvCode = Inventory.cInvCode
    LEFT JOIN (SELECT S.SourceID AS ConsignedID, SUM(L.iQuantity) AS iInvoicedQuantity,
        SUM(L.iMoney + L.iTax) AS iInvoicedMoney
      FROM (SELECT ID, dDate AS dInvoiceDate FROM SaleInvoice) AS I
        INNER JOIN SaleInvoiceLine L ON I.ID = L.ID
        INNER JOIN SaleNoteLine S ON L.NoteLineID = S.AutoID
      WHERE S.SourceID IS NOT NULL AND ' + @invoices + N'
      GROUP BY S.SourceID) AS Invoiced ON SaleNoteView.AutoID = Invoiced.ConsignedID
    LEFT JOIN (SELECT S.SourceID AS PaidID, SUM(P.iMoney) AS iPaid
      FROM SalePayment P
        INNER JOIN SaleInvoiceLine L ON P.InvoiceLineID = L.AutoID
        INNER JOIN SaleNoteLine S ON L.NoteLineID = S.AutoID
      WHERE S.SourceID IS NOT NULL AND ' + @payments + N'
      GROUP BY S.SourceID) AS Paid ON SaleNoteView.AutoID = Paid.PaidID
  WHERE ' + @where)
GO

-- Dispatch: goods sold by delivery notes and by settlements of consignments.
CREATE PROCEDURE Sa_MoveSaleOut
  @chrtable nvarchar(128),
  @chrWhere1 varchar(8000),
  @chrChecked varchar(8000),
  @chrStartDate nvarchar(40),
  @chrenddate nvarchar(40)
AS
  DECLARE @where nvarchar(4000)
  SET @where = N'cVouchType IN (''05'', ''07'')'
  EXEC Sa_AddCondition @where OUTPUT, @chrWhere1
  EXEC Sa_AddCondition @where OUTPUT, @chrChecked
  EXEC Sa_AddComparison @where OUTPUT, N'dDate >=', @chrStartDate
  EXEC Sa_AddComparison @where OUTPUT, N'dDate <=', @chrenddate
  EXEC Sa_DropResult @chrtable
  EXEC (N'SELECT dDate AS 日期, cVouchName AS 单据类型, cDLCode AS 单据号, cCusAbbName AS 客户名称,
    cWhCode AS 仓库编码, Inventory.cInvCode AS 存货编码, cInvName AS 存货名称, cInvStd AS 规格型号,
    iQuantity AS 数量, iNum AS 件数, iUnitPrice AS 单价, iMoney AS 金额, cVerifier AS 审核人
  INTO tempdb..' + @chrtable + N'
  FROM SaleNoteView INNER JOIN Inventory ON SaleNoteView.cInvCode = Inventory.cInvCode
  WHERE ' + @where)
GO

-- Dispatch income: what was dispatched against what was invoiced of it. The invoice date chooses
-- what counts as invoiced.
CREATE PROCEDURE Sa_MoveOutIncome
  @chrtable nvarchar(128),
  @chrWhere1 varchar(8000),
  @chrOutDate varchar(8000),
  @chrSaleDate varchar(8000),
  @chrVouchType varchar(8000)
AS
  DECLARE @where nvarchar(4000), @invoices nvarchar(4000)
  SET @where = N'cVouchType IN (''05'', ''07'')'
  SET @invoices = N'1 = 1'
  -- Beside long conditions the voucher type comes with its quotes doubled.
  SET @chrVouchType = REPLACE(@chrVouchType, '''''', '''')
  EXEC Sa_AddCondition @where OUTPUT, @chrWhere1
  EXEC Sa_AddCondition @where OUTPUT, @chrOutDate
  EXEC Sa_AddCondition @where OUTPUT, @chrVouchType
  EXEC Sa_AddCondition @invoices OUTPUT, @chrSaleDate
  EXEC Sa_DropResult @chrtable
  EXEC (N'SELECT dDate AS 发货日期, cVouchName AS 单据类型, cDLCode AS 单据号, cCusAbbName AS 客户名称,
    Inventory.cInvCode AS 存货编码, cInvName AS 存货名称, iQuantity AS 发货数量, iMoney AS 发货金额,
    ISNULL(iInvoicedQuantity, 0) AS 开票数量, ISNULL(iInvoicedMoney, 0) AS 开票金额,
    iQuantity - ISNULL(iInvoicedQuantity, 0) AS 未开票数量,
    iMoney - ISNULL(iInvoicedMoney, 0) AS 未开票金额
  INTO tempdb..' + @chrtable + N'
  FROM SaleNoteView INNER JOIN Inventory ON SaleNoteView.cInvCode = Inventory.cInvCode
    LEFT JOIN (SELECT NoteLineID, SUM(iQuantity) AS iInvoicedQuantity, SUM(iMoney) AS iInvoicedMoney
      FROM (SELECT ID, dDate AS dInvoiceDate FROM SaleInvoice) AS I
        INNER JOIN SaleInvoiceLine L ON I.ID = L.ID
      WHERE ' + @invoices + N'
      GROUP BY NoteLineID) AS Invoiced ON SaleNoteView.AutoID = Invoiced.NoteLineID
  WHERE ' + @where)
GO

-- Sales, returns and margin: the invoiced lines of an accounting department, sold and returned goods
-- side by side.
CREATE PROCEDURE Sa_MoveSRMDetail
  @chrtablename nvarchar(128),
  @chrWhere varchar(8000),
  @chrStartDate nvarchar(40),
  @chrenddate nvarchar(40),
  @chrchecker varchar(8000),
  @chrdep varchar(8000),
  @chrWareHouse nvarchar(400)
AS
  DECLARE @where nvarchar(4000)
  SET @where = N'1 = 1'
  EXEC Sa_AddCondition @where OUTPUT, @chrWhere
  EXEC Sa_AddComparison @where OUTPUT, N'dDate >=', @chrStartDate
  EXEC Sa_AddComparison @where OUTPUT, N'dDate <=', @chrenddate
  EXEC Sa_AddCondition @where OUTPUT, @chrchecker
  IF @chrdep <> ''
    SET @where = @where + N' AND (cAccDep' + @chrdep + N')'
  EXEC Sa_AddComparison @where OUTPUT, N'cWhCode =', @chrWareHouse
  EXEC Sa_DropResult @chrtablename
  EXEC (N'SELECT dDate AS 日期, cInvoiceCode AS 发票号, cAccDep AS 核算部门, cCusAbbName AS 客户名称,
    Inventory.cInvCode AS 存货编码, cInvName AS 存货名称,
    CASE WHEN iQuantity > 0 THEN iQuantity ELSE 0 END AS 销售数量,
    CASE WHEN iQuantity < 0 THEN -iQuantity ELSE 0 END AS 退货数量,
    iMoney AS 净额, iMoney - ISNULL(iCost, 0) AS 毛利
  INTO tempdb..' + @chrtablename + N'
  FROM SaleInvoiceView INNER JOIN Inventory ON SaleInvoiceView.cInvCode = Inventory.cInvCode
  WHERE ' + @where)
GO

-- Entrusted sales: what consignees have sold and settled.
CREATE PROCEDURE Sa_MoveTrustDetail
  @chrtable nvarchar(128),
  @chrWhere varchar(8000),
  @chrStartDate nvarchar(40),
  @chrEndDate nvarchar(40)
AS
  DECLARE @where nvarchar(4000)
  SET @where = N'cVouchType = ''07'''
  EXEC Sa_AddCondition @where OUTPUT, @chrWhere
  EXEC Sa_AddComparison @where OUTPUT, N'dDate >=', @chrStartDate
  EXEC Sa_AddComparison @where OUTPUT, N'dDate <=', @chrEndDate
  EXEC Sa_DropResult @chrtable
  EXEC (N'SELECT dDate AS 结算日期, cDLCode AS 结算单号, cCusAbbName AS 客户名称, cWhCode AS 仓库编码,
    Inventory.cInvCode AS 存货编码, cInvName AS 存货名称, cInvStd AS 规格型号,
    iQuantity AS 结算数量, iUnitPrice AS 单价, iMoney AS 结算金额
  INTO tempdb..' + @chrtable + N'
  FROM SaleNoteView INNER JOIN Inventory ON SaleNoteView.cInvCode = Inventory.cInvCode
  WHERE ' + @where)
GO
