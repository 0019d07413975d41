# The default simulated device: a Qualcomm-based phone project in factory mode, with the
# engineer-mode app installed, a pop-up camera (its motor and halls modelled) and the laser
# ranging sensor fitted.
#
# [properties]   name = value, set by the device's init (read-only ones included)
# [features]     name = value, the lines of /etc/em_features.xml
# [files]        device path = one line of content ("\n" starts a new line)
# [present]      device paths that must exist (empty files): installed apps, optional nodes

[properties]
ro.orba.product.model = PD5202CMA
ro.orba.product.platform = SM8250
ro.orba.product.solution = qcom
ro.orba.oem.name = ORBA
ro.orba.dyn.support = no
ro.hardware.qzt = qcom
ro.build.version.release = 12
ro.build.version.sdk = 31
ro.build.version.group = V2.0
ro.build.date.utc = 1767225600
ro.product.upgrade.level = N
ro.vendor.orba.board_version = 1
persist.sys.factory.mode = yes
persist.sys.user.qztem = 0
persist.sys.aftersale.qztem = 0
persist.sys.fptype = udfp
persist.radio.multisim.config = dsds
sys.boot_completed = 1
# a live laser sensor: its vendor library delivers these measurement words, the last repeated
sim.laser.words = 0x002A0150,0x002A0152,0x0029014E
# secure-storage tool answer (1 provisioned)
sim.rpmb.result = 1
# the pop-up camera's hardware models run
sim.hw.enable = 1
# engineer-mode app answers
sim.em.refresh_rate = 120
sim.em.global.screen_brightness = 128

[features]
camera_motor_type = fully_auto_pop
camera_type = front[front_camera_main];back[rear_camera_main,rear_camera_wide,rear_camera_macro]
laser_sensor = TMF8801
laser_TMF8801_support = true
fingerprint = udfp
rotary_motor_parameters = deg0[10,20];deg180[170,190]
ntc_temperature = I[board_ntc,pa_ntc,quiet_ntc];II[chg_ntc]

[files]
/proc/cmdline = console=ttyMSM0,115200n8 androidboot.hardware=qcom androidboot.mode=factory support_minidp=0
/sys/devs_list/card_slot_status_check = 1
/sys/class/timed_output/motor/enable = 0
/sys/class/orba_hall/up_hall/enable = 0
/sys/class/orba_hall/down_hall/enable = 0
# camera modules: serial numbers (hexadecimal text) and material codes, in the per-type layout
# and in the legacy one
/mnt/vendor/nvcfg/camera/rear_camera_main_sn = 4f524241434d3030303031
/mnt/vendor/nvcfg/camera/rear_camera_main_material = MAT-R-MAIN-01
/mnt/vendor/nvcfg/camera/rear_camera_wide_sn = 4f524241434d3030303032
/mnt/vendor/nvcfg/camera/rear_camera_wide_material = MAT-R-WIDE-01
/mnt/vendor/nvcfg/camera/front_camera_main_sn = 4f524241434d3030303033
/mnt/vendor/nvcfg/camera/front_camera_main_material = MAT-F-MAIN-01
/mnt/vendor/nvcfg/camera/sn_data_main = 4f524241434d3030303031
/mnt/vendor/nvcfg/camera/sn_data_aux = 4f524241434d3030303032
/mnt/vendor/nvcfg/camera/sn_data_front_main = 4f524241434d3030303033
/vendor/etc/ntc.ini = [type_i]\nboard_ntc = /sys/class/thermal/thermal_zone0/temp%1000\npa_ntc = /sys/class/thermal/thermal_zone1/temp%1000\n\n[type_ii]\nchg_ntc = /sys/class/thermal/thermal_zone2/temp%1000\n
/sys/class/thermal/thermal_zone0/temp = 36500
/sys/class/thermal/thermal_zone1/temp = 41200
/sys/class/thermal/thermal_zone2/temp = 29800
# storage identity: a Samsung eMMC and its BOM code
/sys/block/mmcblk0/device/cid = 150100414a54443452100a1b2c3d4e00
/system/etc/emmc_bom = 414A54443452=BOM-EMMC-S128G\n
# the touch controller's self-test node (answered by the touch model)
/sys/touchscreen/at_sensor_test =
# security state: secure boot fused
/proc/sec_oem_lcs = 0x00000003
/proc/sec_en = 1

[present]
/system/app/orbaEngineerMode/orbaEngineerMode.apk
