CREATE TABLE tempdb.by_hand AS SELECT * FROM Inventory;
