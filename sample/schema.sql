-- The suite's tables.
--
-- Reports join these tables and name many columns without their table, so a name stands in one
-- table only wherever two meet in a join: the voucher's date (dDate), direction (bRdFlag),
-- warehouse (cWhCode) and auditor (cHandler, dVeriDate) in the head, the batch's expiry (dVDate)
-- and the quantities in the line. Inventory has none of them, and no cFree column either.
--
-- Quantities, pieces, costs, amounts and rates are float: reports write '' for "nothing" beside
-- them. Flags that reports add up or negate are tinyint. RdRecords.iQuantity, RdRecords.iNum and
-- RdRecord.cRdCode allow NULL: the receive/issue summary copies them into a work table, to which
-- it then adds opening balances that have none.

-- Parameters of the account set; cValue, or cDefault where it is NULL.
CREATE TABLE AccInformation (
  cSysID varchar(10) NOT NULL,
  cName varchar(40) NOT NULL,
  cCaption nvarchar(60) NULL,
  cValue nvarchar(100) NULL,
  cDefault nvarchar(100) NULL,
  PRIMARY KEY (cSysID, cName)
)
GO

-- Unit groups: 0 without pieces, 1 pieces at a fixed rate, 2 pieces counted by themselves.
CREATE TABLE ComputationGroup (
  cGroupCode varchar(10) NOT NULL PRIMARY KEY,
  cGroupName nvarchar(30) NOT NULL,
  iGroupType tinyint NOT NULL
)
GO

-- Units. A main unit serves many groups and belongs to none; the one unit that carries a group's
-- code is the unit of its pieces, so that a join on the group finds one row for each item.
CREATE TABLE ComputationUnit (
  cComUnitCode varchar(10) NOT NULL PRIMARY KEY,
  cComUnitName nvarchar(20) NOT NULL,
  cGroupCode varchar(10) NULL,
  bMainUnit bit NOT NULL,
  iChangRate float NULL
)
GO

CREATE TABLE InventoryClass (
  cInvCCode varchar(12) NOT NULL PRIMARY KEY,
  cInvCName nvarchar(30) NOT NULL,
  iInvCGrade tinyint NOT NULL,
  bInvCEnd tinyint NOT NULL
)
GO

-- Storage locations, a tree by code; goods lie in its leaves (bPosEnd 1).
CREATE TABLE Position (
  cPosCode varchar(20) NOT NULL PRIMARY KEY,
  cPosName nvarchar(40) NOT NULL,
  iPosGrade tinyint NOT NULL,
  bPosEnd tinyint NOT NULL,
  cWhCode varchar(10) NOT NULL
)
GO

CREATE TABLE Warehouse (
  cWhCode varchar(10) NOT NULL PRIMARY KEY,
  cWhName nvarchar(30) NOT NULL,
  cWhAddress nvarchar(60) NULL,
  cWhKeeper nvarchar(20) NULL,
  bWhPos bit NOT NULL
)
GO

CREATE TABLE Inventory (
  cInvCode varchar(20) NOT NULL PRIMARY KEY,
  cInvAddCode varchar(20) NULL,
  cInvName nvarchar(60) NOT NULL,
  cInvStd nvarchar(40) NULL,
  cInvCCode varchar(12) NOT NULL,
  cAddress nvarchar(40) NULL,
  cBarCode varchar(30) NULL,
  iGroupType tinyint NOT NULL,
  cGroupCode varchar(10) NOT NULL,
  cComUnitCode varchar(10) NOT NULL,
  cAssComUnitCode varchar(10) NULL,
  iSafeNum float NULL,
  cPosition varchar(20) NULL,
  iPlanPrice float NULL,
  iShelfDays int NULL,
  bInvBatch bit NOT NULL,
  bInvQuality bit NOT NULL,
  bService bit NOT NULL,
  bInvEntrust bit NOT NULL,
  bInvOverStock bit NOT NULL,
  cInvDefine1 nvarchar(60) NULL, cInvDefine2 nvarchar(60) NULL, cInvDefine3 nvarchar(60) NULL,
  cInvDefine4 nvarchar(60) NULL, cInvDefine5 nvarchar(60) NULL, cInvDefine6 nvarchar(60) NULL,
  cInvDefine7 nvarchar(60) NULL, cInvDefine8 nvarchar(60) NULL, cInvDefine9 nvarchar(60) NULL,
  cInvDefine10 nvarchar(60) NULL, cInvDefine11 nvarchar(60) NULL, cInvDefine12 nvarchar(60) NULL,
  cInvDefine13 float NULL, cInvDefine14 float NULL, cInvDefine15 datetime NULL,
  cInvDefine16 datetime NULL
)
GO

-- What a kit consists of: iNum of cAccCode for one of cAccPCode.
CREATE TABLE Accessaries (
  cAccPCode varchar(20) NOT NULL,
  cAccCode varchar(20) NOT NULL,
  iNum float NOT NULL,
  PRIMARY KEY (cAccPCode, cAccCode)
)
GO

-- Receive/issue types; the grade is the level in the tree of codes.
CREATE TABLE Rd_Style (
  cRdCode varchar(5) NOT NULL PRIMARY KEY,
  cRdName nvarchar(20) NOT NULL,
  iRdGrade tinyint NOT NULL,
  bRdEnd tinyint NOT NULL
)
GO

CREATE TABLE VouchType (
  cVouchType varchar(10) NOT NULL PRIMARY KEY,
  cVouchName nvarchar(20) NOT NULL
)
GO

CREATE TABLE SaleType (
  cSTCode varchar(5) NOT NULL PRIMARY KEY,
  cSTName nvarchar(20) NOT NULL
)
GO

CREATE TABLE PurchaseType (
  cPTCode varchar(5) NOT NULL PRIMARY KEY,
  cPTName nvarchar(20) NOT NULL
)
GO

CREATE TABLE Department (
  cDepCode varchar(12) NOT NULL PRIMARY KEY,
  cDepName nvarchar(30) NOT NULL,
  iDepGrade tinyint NOT NULL,
  bDepEnd tinyint NOT NULL
)
GO

CREATE TABLE Person (
  cPersonCode varchar(10) NOT NULL PRIMARY KEY,
  cPersonName nvarchar(20) NOT NULL,
  cDepCode varchar(12) NOT NULL
)
GO

CREATE TABLE Customer (
  cCusCode varchar(20) NOT NULL PRIMARY KEY,
  cCusName nvarchar(60) NULL,
  cCusAbbName nvarchar(30) NOT NULL,
  cCusCity nvarchar(20) NULL
)
GO

CREATE TABLE Vendor (
  cVenCode varchar(20) NOT NULL PRIMARY KEY,
  cVenName nvarchar(60) NULL,
  cVenAbbName nvarchar(30) NOT NULL,
  cVenCity nvarchar(20) NULL
)
GO

-- Stock vouchers, the heads. bRdFlag: 1 receipt, 0 issue. An audited voucher has its cHandler.
CREATE TABLE RdRecord (
  ID int NOT NULL PRIMARY KEY,
  bRdFlag tinyint NOT NULL,
  cVouchType varchar(10) NOT NULL,
  cBusType nvarchar(20) NULL,
  cBusCode varchar(30) NULL,
  cWhCode varchar(10) NOT NULL,
  dDate datetime NOT NULL,
  cCode varchar(30) NOT NULL,
  cRdCode varchar(5) NULL,
  cDepCode varchar(12) NULL,
  cPersonCode varchar(10) NULL,
  cPTCode varchar(5) NULL,
  cSTCode varchar(5) NULL,
  cCusCode varchar(20) NULL,
  cVenCode varchar(20) NULL,
  cOrderCode varchar(30) NULL,
  cARVCode varchar(30) NULL,
  cBillCode varchar(30) NULL,
  cDLCode varchar(30) NULL,
  cProBatch varchar(30) NULL,
  cHandler nvarchar(20) NULL,
  dVeriDate datetime NULL,
  cMemo nvarchar(100) NULL,
  cAccounter nvarchar(20) NULL,
  cMaker nvarchar(20) NULL,
  cDefine1 nvarchar(60) NULL, cDefine2 nvarchar(60) NULL, cDefine3 nvarchar(60) NULL,
  cDefine4 nvarchar(60) NULL, cDefine5 nvarchar(60) NULL, cDefine6 nvarchar(60) NULL,
  cDefine7 nvarchar(60) NULL, cDefine8 nvarchar(60) NULL, cDefine9 nvarchar(60) NULL,
  cDefine10 nvarchar(60) NULL, cDefine11 nvarchar(60) NULL, cDefine12 nvarchar(60) NULL,
  cDefine13 nvarchar(60) NULL, cDefine14 float NULL, cDefine15 float NULL,
  cDefine16 datetime NULL
)
GO

-- Stock vouchers, the lines.
CREATE TABLE RdRecords (
  AutoID int NOT NULL PRIMARY KEY,
  ID int NOT NULL,
  cInvCode varchar(20) NOT NULL,
  iNum float NULL,
  iQuantity float NULL,
  cAssUnit varchar(10) NULL,
  iUnitCost float NULL,
  iPrice float NULL,
  iPUnitCost float NULL,
  iPPrice float NULL,
  cBatch varchar(20) NULL,
  dMadeDate datetime NULL,
  iMassDate int NULL,
  dVDate datetime NULL,
  cFree1 nvarchar(20) NULL, cFree2 nvarchar(20) NULL, cFree3 nvarchar(20) NULL,
  cFree4 nvarchar(20) NULL, cFree5 nvarchar(20) NULL, cFree6 nvarchar(20) NULL,
  cFree7 nvarchar(20) NULL, cFree8 nvarchar(20) NULL, cFree9 nvarchar(20) NULL,
  cFree10 nvarchar(20) NULL,
  cItemCName nvarchar(20) NULL,
  cName nvarchar(60) NULL,
  cDefine22 nvarchar(60) NULL, cDefine23 nvarchar(60) NULL, cDefine24 nvarchar(60) NULL,
  cDefine25 nvarchar(60) NULL, cDefine26 nvarchar(60) NULL, cDefine27 nvarchar(60) NULL,
  cDefine28 nvarchar(60) NULL, cDefine29 nvarchar(60) NULL, cDefine30 nvarchar(60) NULL,
  cDefine31 nvarchar(60) NULL, cDefine32 nvarchar(60) NULL, cDefine33 nvarchar(60) NULL,
  cDefine34 nvarchar(60) NULL, cDefine35 float NULL, cDefine36 float NULL,
  cDefine37 datetime NULL
)
GO

-- Movements of the locations, one for each voucher line in a warehouse that keeps locations.
CREATE TABLE InvPosition (
  AutoID int NOT NULL PRIMARY KEY,
  RdID int NOT NULL,
  RdsID int NOT NULL,
  cWhCode varchar(10) NOT NULL,
  cPosCode varchar(20) NOT NULL,
  cInvCode varchar(20) NOT NULL,
  cBatch varchar(20) NULL,
  dDate datetime NOT NULL,
  bRdFlag tinyint NOT NULL,
  iQuantity float NULL,
  iNum float NULL,
  cFree1 nvarchar(20) NULL, cFree2 nvarchar(20) NULL, cFree3 nvarchar(20) NULL,
  cFree4 nvarchar(20) NULL, cFree5 nvarchar(20) NULL, cFree6 nvarchar(20) NULL,
  cFree7 nvarchar(20) NULL, cFree8 nvarchar(20) NULL, cFree9 nvarchar(20) NULL,
  cFree10 nvarchar(20) NULL
)
GO

-- Stock on hand by warehouse, item, batch and free attributes: what the vouchers add up to.
CREATE TABLE CurrentStock (
  AutoID int NOT NULL PRIMARY KEY,
  cWhCode varchar(10) NOT NULL,
  cInvCode varchar(20) NOT NULL,
  cBatch varchar(20) NULL,
  cFree1 nvarchar(20) NULL, cFree2 nvarchar(20) NULL, cFree3 nvarchar(20) NULL,
  cFree4 nvarchar(20) NULL, cFree5 nvarchar(20) NULL, cFree6 nvarchar(20) NULL,
  cFree7 nvarchar(20) NULL, cFree8 nvarchar(20) NULL, cFree9 nvarchar(20) NULL,
  cFree10 nvarchar(20) NULL,
  dMdate datetime NULL,
  iMassDate int NULL,
  dVDate datetime NULL,
  iQuantity float NULL,
  iNum float NULL,
  fInQuantity float NULL, fInNum float NULL,
  fOutQuantity float NULL, fOutNum float NULL,
  fTransInQuantity float NULL, fTransInNum float NULL,
  fTransOutQuantity float NULL, fTransOutNum float NULL,
  fPlanQuantity float NULL, fPlanNum float NULL,
  fDisableQuantity float NULL, fDisableNum float NULL,
  fAvaQuantity float NULL, fAvaNum float NULL,
  bStopFlag bit NULL
)
GO
