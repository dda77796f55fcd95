#!/bin/sh
# SPDX-License-Identifier: MIT
# machine.sh FOLDER PACKAGE...
# Becomes the first process of a machine of its own: a systemd over the files of this one, with the packages installed,
# that starts mplsted.service and what that needs. What is written anywhere is lost with the machine. To be run in
# namespaces of its own, all kinds but users.
set -e
folder=$1
shift

mount -t tmpfs none "$folder"
mkdir "$folder/new" "$folder/overlay" "$folder/root"
root=$folder/root
mount -t overlay overlay -o "lowerdir=/,upperdir=$folder/new,workdir=$folder/overlay" "$root"

mount -t proc proc "$root/proc"
mount -t sysfs -o ro sysfs "$root/sys"
mount -t tmpfs none "$root/sys/fs/cgroup"
mount -t cgroup2 none "$root/sys/fs/cgroup"
mount -t tmpfs -o mode=755 none "$root/run"
mount -t tmpfs none "$root/tmp"
mount -t tmpfs -o mode=755 none "$root/dev"
mkdir "$root/dev/pts" "$root/dev/shm"
mount -t devpts -o newinstance,ptmxmode=666 devpts "$root/dev/pts"
mount -t tmpfs none "$root/dev/shm"
for device in null zero full random urandom tty; do
   : >"$root/dev/$device"
   mount --bind "/dev/$device" "$root/dev/$device"
done
ln -s pts/ptmx "$root/dev/ptmx"
ln -s /proc/self/fd "$root/dev/fd"

# Disks are not its affair, nor is who may start what out here.
: >"$root/etc/fstab"
rm -f "$root/usr/sbin/policy-rc.d"
mkdir -p "$root/srv/packages"
cp "$@" "$root/srv/packages"
cd "$root"
export PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive
for package; do
   chroot . dpkg --force-unsafe-io --install "/srv/packages/${package##*/}"
done
exec env -i container=mplste-test PATH="$PATH" \
   chroot . /lib/systemd/systemd --system --unit=mplsted.service --log-target=journal --show-status=no
