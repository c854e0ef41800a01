-- What the company sells: notes of the goods that leave, invoices, and the money that comes in.
--
-- Conditions name the columns of the views below. Beside a view a report joins nothing but
-- Inventory, so that every name but cInvCode stands once.

-- Notes, the heads. cVouchType: 05 delivery, 06 dispatch on consignment, 07 settlement of what a
-- consignee has sold. An audited note has its cVerifier.
CREATE TABLE SaleNote (
  ID int NOT NULL PRIMARY KEY,
  cVouchType varchar(10) NOT NULL,
  cDLCode varchar(30) NOT NULL,
  dDate datetime NOT NULL,
  cCusCode varchar(20) NOT NULL,
  cDepCode varchar(12) NOT NULL,
  cPersonCode varchar(10) NOT NULL,
  cSTCode varchar(5) NOT NULL,
  cVerifier nvarchar(20) NULL,
  cMaker nvarchar(20) NULL
)
GO

-- Notes, the lines. What customers return is negative. A settlement names the line on consignment
-- that it settles (SourceID). RdsID is the voucher line that moved the goods; a settlement moves
-- none.
CREATE TABLE SaleNoteLine (
  AutoID int NOT NULL PRIMARY KEY,
  ID int NOT NULL,
  SourceID int NULL,
  RdsID int NULL,
  cWhCode varchar(10) NOT NULL,
  cInvCode varchar(20) NOT NULL,
  cFree1 nvarchar(20) NULL,
  cFree2 nvarchar(20) NULL,
  iQuantity float NOT NULL,
  iNum float NULL,
  iUnitPrice money NOT NULL,
  iMoney money NOT NULL
)
GO

-- Invoices, the heads. cChecker has reviewed it; NULL or '' while nobody has. dKeepDate is the day
-- of its entry in the books. cAccDep is the department whose account it goes to.
CREATE TABLE SaleInvoice (
  ID int NOT NULL PRIMARY KEY,
  cInvoiceCode varchar(30) NOT NULL,
  dDate datetime NOT NULL,
  dKeepDate datetime NULL,
  cCusCode varchar(20) NOT NULL,
  cDepCode varchar(12) NOT NULL,
  cAccDep varchar(12) NOT NULL,
  cPersonCode varchar(10) NOT NULL,
  cSTCode varchar(5) NOT NULL,
  cChecker nvarchar(20) NULL,
  cMaker nvarchar(20) NULL
)
GO

-- Invoices, the lines: of a delivery or a settlement (NoteLineID), or of a service, which has
-- neither a note nor a warehouse. iMoney is without tax; iCost is what the goods have cost.
CREATE TABLE SaleInvoiceLine (
  AutoID int NOT NULL PRIMARY KEY,
  ID int NOT NULL,
  NoteLineID int NULL,
  cWhCode varchar(10) NULL,
  cInvCode varchar(20) NOT NULL,
  iQuantity float NOT NULL,
  iNum float NULL,
  iUnitPrice money NOT NULL,
  iMoney money NOT NULL,
  iTax money NOT NULL,
  iCost money NULL
)
GO

-- What customers have paid, by line of the invoice, with tax.
CREATE TABLE SalePayment (
  AutoID int NOT NULL PRIMARY KEY,
  InvoiceLineID int NOT NULL,
  dPayDate datetime NOT NULL,
  iMoney money NOT NULL
)
GO

-- Lines of notes with what their heads say.
CREATE VIEW SaleNoteView AS
SELECT N.cVouchType, T.cVouchName, N.cDLCode, N.dDate, N.cCusCode, C.cCusAbbName, N.cDepCode,
  D.cDepName, N.cPersonCode, N.cSTCode, N.cVerifier, L.AutoID, L.SourceID, L.cWhCode, L.cInvCode,
  L.iQuantity, L.iNum, L.iUnitPrice, L.iMoney
FROM SaleNote N
INNER JOIN SaleNoteLine L ON N.ID = L.ID
INNER JOIN VouchType T ON N.cVouchType = T.cVouchType
INNER JOIN Customer C ON N.cCusCode = C.cCusCode
INNER JOIN Department D ON N.cDepCode = D.cDepCode
GO

-- Lines of invoices with what their heads say.
CREATE VIEW SaleInvoiceView AS
SELECT I.cInvoiceCode, I.dDate, I.dKeepDate, I.cCusCode, C.cCusAbbName, I.cDepCode, D.cDepName,
  I.cAccDep, I.cPersonCode, I.cSTCode, I.cChecker, L.AutoID, L.NoteLineID, L.cWhCode, L.cInvCode,
  L.iQuantity, L.iNum, L.iUnitPrice, L.iMoney, L.iTax, L.iCost
FROM SaleInvoice I
INNER JOIN SaleInvoiceLine L ON I.ID = L.ID
INNER JOIN Customer C ON I.cCusCode = C.cCusCode
INNER JOIN Department D ON I.cDepCode = D.cDepCode
GO
