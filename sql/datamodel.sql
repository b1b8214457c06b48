-- Tables of the business database, fed to the mysql client on the first login
-- (the database itself is created by the program with character set utf8).
-- Only the columns marked "fixed" are relied on by the program; every other
-- column of the three party tables can be changed from 数据字段维护.
SET NAMES utf8;

-- One row per registration. The registration number is never stored here:
-- it is always CONCAT(地区,年度*100000+编号).
CREATE TABLE lease (
  地区     char(6)  NOT NULL,             -- fixed: region code
  年度     int(11)  NOT NULL,             -- fixed: year
  编号     int(11)  NOT NULL,             -- fixed: serial within region and year
  登记日期 date     NOT NULL,             -- fixed
  有效日起 date     DEFAULT NULL,         -- fixed
  有效日止 date     DEFAULT NULL,         -- fixed
  收费金额 int(11)  NOT NULL DEFAULT 0,   -- fixed: whole yuan
  -- A second save of the same new number must fail ("Duplicate entry").
  UNIQUE KEY 登记编号 (地区,年度,编号),
  KEY 登记日期 (登记日期)
) ENGINE=InnoDB DEFAULT CHARSET=utf8;

-- Lessor (出租方).
CREATE TABLE leaseout (
  登记编号     char(15)     NOT NULL,    -- fixed
  出方名称     varchar(60)  NOT NULL,    -- fixed: searched by keyword
  出方类别     enum('个人','单位') DEFAULT '个人',
  出方证件类型 enum('居民身份证','营业执照','护照','军官证','其他') DEFAULT '居民身份证',
  出方证件号码 varchar(30)  DEFAULT NULL,
  出方电话     varchar(30)  DEFAULT NULL, -- fixed: searched by keyword
  出方地址     varchar(100) DEFAULT NULL,
  委托代理人   varchar(40)  DEFAULT NULL,
  PRIMARY KEY (登记编号)
) ENGINE=InnoDB DEFAULT CHARSET=utf8;

-- Lessee (承租方).
CREATE TABLE leasein (
  登记编号     char(15)     NOT NULL,    -- fixed
  承方名称     varchar(60)  NOT NULL,    -- fixed: searched by keyword
  承方类别     enum('个人','单位') DEFAULT '个人',
  承方证件类型 enum('居民身份证','营业执照','护照','军官证','其他') DEFAULT '居民身份证',
  承方证件号码 varchar(30)  DEFAULT NULL,
  承方电话     varchar(30)  DEFAULT NULL, -- fixed: searched by keyword
  户籍地址     varchar(100) DEFAULT NULL,
  居住人数     int(11)      DEFAULT 1,
  PRIMARY KEY (登记编号)
) ENGINE=InnoDB DEFAULT CHARSET=utf8;

-- House (房屋).
CREATE TABLE leasehouse (
  登记编号   char(15)     NOT NULL,      -- fixed
  房屋坐落   varchar(100) NOT NULL,      -- fixed: searched by keyword
  房产证号   varchar(40)  DEFAULT NULL,
  房屋用途   enum('住宅','商业','办公','厂房','仓储','其他') DEFAULT '住宅',
  房屋结构   enum('钢混','砖混','砖木','其他') DEFAULT '砖混',
  建筑面积   int(11)      DEFAULT 60,    -- square metres
  出租间数   int(11)      DEFAULT 1,
  月租金     int(11)      DEFAULT 500,   -- yuan
  租金支付方式 enum('月付','季付','半年付','年付') DEFAULT '月付',
  备注       text         DEFAULT NULL,  -- no field on the record form (text type)
  PRIMARY KEY (登记编号)
) ENGINE=InnoDB DEFAULT CHARSET=utf8;

-- Removing a registration removes its party rows with it, whichever path
-- deletes it (the record form, or clearing old business data). Without this
-- a number reused after clearing would collide with orphaned party rows.
CREATE TRIGGER lease_delete_leaseout AFTER DELETE ON lease FOR EACH ROW
  DELETE FROM leaseout WHERE 登记编号=CONCAT(OLD.地区,OLD.年度*100000+OLD.编号);
CREATE TRIGGER lease_delete_leasein AFTER DELETE ON lease FOR EACH ROW
  DELETE FROM leasein WHERE 登记编号=CONCAT(OLD.地区,OLD.年度*100000+OLD.编号);
CREATE TRIGGER lease_delete_leasehouse AFTER DELETE ON lease FOR EACH ROW
  DELETE FROM leasehouse WHERE 登记编号=CONCAT(OLD.地区,OLD.年度*100000+OLD.编号);

-- Operation log: who did what, when (server time). The key is invisible, so
-- "SELECT * FROM log" shows the three columns; it lets a replicated server
-- clear the log without locking out other workstations' saves.
CREATE TABLE log (
  日期 datetime     NOT NULL,
  用户 varchar(60)  DEFAULT NULL,
  描述 varchar(255) DEFAULT NULL,
  序号 bigint unsigned NOT NULL AUTO_INCREMENT INVISIBLE PRIMARY KEY
) ENGINE=InnoDB DEFAULT CHARSET=utf8;
