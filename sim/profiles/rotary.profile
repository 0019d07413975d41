# A phone whose pop-up camera also turns, so one camera serves as rear and front camera: the
# pop motor with its up, middle and down halls, and the rotary motor with its magnetometer, all
# modelled. The module rests at 120 degrees; its mechanical stop (the angle it never reaches)
# is at 300 degrees. The calibration is stored in the factory record by the station session.
#
# Sections as in default.profile.

[properties]
ro.orba.product.model = PD5406CMA
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
# the camera modules' OTP states, as the camera HAL reports them
vendor.camera.otp.rear_main = 0
vendor.camera.otp.rear_wide = 1F2
# hardware models
sim.hw.enable = 1
sim.motor.travel_ms = 800
sim.rotary.angle = 120
sim.rotary.stop_angle = 300
sim.rotary.speed_factor = 1.0
sim.rotary.field = 1000
sim.rotary.noise_deg = 0.1
# engineer-mode app answers
sim.em.refresh_rate = 120
sim.em.global.screen_brightness = 128

[features]
camera_motor_type = fully_auto_pop_rotate
camera_type = front[rear_camera_main];back[rear_camera_main,rear_camera_wide]
rotary_motor_parameters = popTime[800];pushTime[800];rotaryInterval[2];popInterval[30];popTimeOut[2000];rotaryTimeOut[4000];anglePrecision[0.3]
rotary_motor_rotary_scope = max_rotary_angle[300.0,300.0];angle_0[30.0,30.0];angle_180[210.0,210.0]
rotary_motor_pop_scope = pop_half_up[180,360];pop_up[900,1010];pop_down[100,200];retract_up[100,200];retract_down[900,1010]
rotary_motor_fluency_parameters = fluency_pop[100,300];fluency_retract[100,300]
laser_sensor = TMF8801
fingerprint = udfp

[files]
/proc/cmdline = console=ttyMSM0,115200n8 androidboot.hardware=qcom androidboot.mode=factory support_minidp=0
/sys/devs_list/card_slot_status_check = 1
/sys/class/timed_output/motor/enable = 0
/sys/class/timed_output/motor/cali_data = 
/sys/class/timed_output/motor5/enable = 0
/sys/class/timed_output/motor5/period = 50
/sys/class/orba_hall/up_hall/enable = 0
/sys/class/orba_hall/down_hall/enable = 0
/mnt/vendor/nvcfg/camera/rear_camera_main_sn = 4f524241434d3130303031
/mnt/vendor/nvcfg/camera/rear_camera_main_material = MAT-ROT-MAIN-01
/mnt/vendor/nvcfg/camera/rear_camera_wide_sn = 4f524241434d3130303032
/mnt/vendor/nvcfg/camera/rear_camera_wide_material = MAT-ROT-WIDE-01
/mnt/vendor/nvcfg/camera/sn_data_main = 4f524241434d3130303031
/mnt/vendor/nvcfg/camera/sn_data_wide = 4f524241434d3130303032
/vendor/etc/ntc.ini = [ntc]\nboard_ntc = /sys/class/thermal/thermal_zone0/temp\n
/sys/class/thermal/thermal_zone0/temp = 36500

[present]
/system/app/orbaEngineerMode/orbaEngineerMode.apk
