# The default device with UFS storage instead of eMMC: a Kioxia part, its BOM code and UFS id.
include default

[absent]
/sys/block/mmcblk0/device/cid

[files]
/sys/block/sda/device/vendor = KIOXIA
/sys/block/sda/device/model = THGJFGT1E45 BAIL
/sys/ufs/ufsid = 12ab34cd56ef7890
/system/etc/emmc_bom = THGJFGT1E45BAIL=BOM-UFS-K256G\n
