#!/bin/bash
# The first process of a guest (guest.py): prepares what the kernel and the command need besides the
# host's files, which are /, read-only; runs the command, and leaves its exit status in the folder
# ORU_SHARED of the host.
echo "guest: init runs"  # from here on, whatever fails is ours: guest.py waits for this line
export PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LANG=C.UTF-8
mount -t proc proc /proc
mount -t sysfs sys /sys
mount -t tmpfs run /run
mount -t devtmpfs dev /dev 2>/dev/null
mkdir -p /dev/shm /run/shared /run/netns /run/tmp /run/bin /run/modules/lib
mount -t tmpfs shm /dev/shm
mount -t hostfs none /run/shared -o "$ORU_SHARED" || exit
export TMPDIR=/run/tmp

# modprobe looks for modules below a root's lib/modules, and Debian has those of this kernel elsewhere.
ln -s /usr/lib/uml/modules /run/modules/lib/modules
printf '#!/bin/sh\nexec /sbin/modprobe -d /run/modules "$@"\n' >/run/bin/modprobe
chmod +x /run/bin/modprobe
echo /run/bin/modprobe >/proc/sys/kernel/modprobe
export PATH=/run/bin:$PATH

# Whatever asks for IPv6 first would load it, and links would send of their own accord from then on.
modprobe ipv6 disable_ipv6=1

: >/run/shared/started
bash /run/shared/command </dev/null
echo $? >/run/shared/status
sync
echo o >/proc/sysrq-trigger
sleep 60
