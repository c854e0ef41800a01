-- What describes a voucher is looked up before its lines are.
CREATE TABLE tempdb.by_hand AS
SELECT R.dDate, CASE WHEN R.bRdFlag <> 0 THEN '入库' ELSE '出库' END AS SFBZ,
       strftime('%Y.%m.%d', S.dVDate / 1000 - 2208988800, 'unixepoch') AS SXRQ,
       T.cVouchName, R.cBusType, R.cMemo, R.cBusCode, W.cWhName, R.cCode, K.cRdName, B.cDepName,
N.cPersonName,
       PT.cPTName, CASE WHEN V.cVenName <> '' THEN V.cVenName ELSE V.cVenAbbName END AS GHDW,
R.cOrderCode, R.cARVCode,
       ST.cSTName, R.cBillCode, CASE WHEN C.cCusName <> '' THEN C.cCusName ELSE C.cCusAbbName END
AS KH,
       R.cDLCode, R.cProBatch, R.cHandler, R.cDefine1, R.cDefine2, R.cDefine3, R.cDefine4,
R.cDefine5, R.cDefine6, R.cDefine7, R.cDefine8, R.cDefine9, R.cDefine10, R.cDefine11,
R.cDefine12, R.cDefine13, R.cDefine14, R.cDefine15, R.cDefine16,
       S.cDefine22, S.cDefine23, S.cDefine24, S.cDefine25, S.cDefine26, S.cDefine27, S.cDefine28,
S.cDefine29, S.cDefine30, S.cDefine31, S.cDefine32, S.cDefine33, S.cDefine34, S.cDefine35,
S.cDefine36, S.cDefine37,
       S.cInvCode, I.cInvAddCode, I.cInvName, I.cInvStd,
       CASE WHEN R.bRdFlag <> 0 THEN S.iNum ELSE 0.0 END AS RKJS, CASE WHEN R.bRdFlag <> 0 THEN
0.0 ELSE S.iNum END AS CKJS,
       CASE I.iGroupType WHEN 0 THEN 0.0 WHEN 2 THEN S.iQuantity / S.iNum ELSE A.iChangRate END
AS HSL,
       U.cComUnitName, S.cFree1, S.cFree2, S.cFree3, S.cFree4, S.cFree5, S.cFree6, S.cFree7,
S.cFree8, S.cFree9, S.cFree10,
       I.cInvDefine1, I.cInvDefine2, I.cInvDefine3, I.cInvDefine4, I.cInvDefine5, I.cInvDefine6,
I.cInvDefine7, I.cInvDefine8, I.cInvDefine9, I.cInvDefine10, I.cInvDefine11, I.cInvDefine12,
I.cInvDefine13, I.cInvDefine14, I.cInvDefine15, I.cInvDefine16,
       CASE WHEN R.bRdFlag <> 0 THEN S.iQuantity ELSE 0.0 END AS RKSL, CASE WHEN R.bRdFlag <> 0
THEN 0.0 ELSE S.iQuantity END AS CKSL,
       CASE WHEN R.bRdFlag <> 0 THEN S.iUnitCost ELSE 0.0 END AS RKDJ, CASE WHEN R.bRdFlag <> 0
THEN 0.0 ELSE S.iUnitCost END AS CKDJ,
       CASE WHEN R.bRdFlag <> 0 THEN S.iPrice ELSE 0.0 END AS RKJE, CASE WHEN R.bRdFlag <> 0 THEN
0.0 ELSE S.iPrice END AS CKJE,
       S.iPUnitCost, S.iPPrice, S.cBatch, S.cName, S.cItemCName, R.cAccounter, R.cMaker
FROM RdRecord AS R
JOIN VouchType AS T ON T.cVouchType = R.cVouchType
JOIN Warehouse AS W ON W.cWhCode = R.cWhCode
LEFT JOIN Rd_Style AS K ON K.cRdCode = R.cRdCode
LEFT JOIN Department AS B ON B.cDepCode = R.cDepCode
LEFT JOIN Person AS N ON N.cPersonCode = R.cPersonCode
LEFT JOIN PurchaseType AS PT ON PT.cPTCode = R.cPTCode
LEFT JOIN Vendor AS V ON V.cVenCode = R.cVenCode
LEFT JOIN SaleType AS ST ON ST.cSTCode = R.cSTCode
LEFT JOIN Customer AS C ON C.cCusCode = R.cCusCode
JOIN RdRecords AS S ON S.ID = R.ID
JOIN Inventory AS I ON I.cInvCode = S.cInvCode
LEFT JOIN ComputationUnit AS A ON A.cComUnitCode = S.cAssUnit
LEFT JOIN ComputationUnit AS U ON U.cComUnitCode = I.cComUnitCode
ORDER BY R.dDate;
