#!/usr/bin/env bash
# A one-node Slurm cluster for the farm tests, started and stopped by them:
#
#   slurm_cluster.sh start DIR    prints "export SLURM_CONF=DIR/slurm.conf"
#   slurm_cluster.sh stop DIR
#
# Everything lives in DIR: a MUNGE key and daemon of its own (its own
# socket, so a system MUNGE is left alone), a generated slurm.conf for this
# host with two CPUs (process tracking by /proc, no task plugin, consumable
# resources selection: nothing that needs cgroups), the controller's state,
# the node's spool and the logs. It runs as root, as the tests do in CI.
set -euo pipefail
action=$1
dir=$(realpath -m "$2")

free_port() {
  python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

start() {
  if [ "$(id -u)" -ne 0 ]; then
    echo "the test cluster runs its daemons as root; run the farm tests as root (as CI does)" >&2
    return 1
  fi
  stop # a cluster left behind by an interrupted run
  rm -rf "$dir/ctld" "$dir/spool"
  mkdir -p "$dir/ctld" "$dir/spool" "$dir/munge"
  chmod 700 "$dir/munge"
  local host
  host=$(hostname -s)
  head -c 1024 /dev/urandom >"$dir/munge/munge.key"
  chmod 400 "$dir/munge/munge.key"
  munged --force --socket="$dir/munge/socket" --key-file="$dir/munge/munge.key" \
    --pid-file="$dir/munge/munged.pid" --log-file="$dir/munge/munged.log" --seed-file="$dir/munge/seed"

  cat >"$dir/slurm.conf" <<CONF
ClusterName=ormafarm
SlurmctldHost=$host(127.0.0.1)
SlurmctldPort=$(free_port)
SlurmdPort=$(free_port)
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
AuthInfo=socket=$dir/munge/socket,cred_expire=10
CredType=cred/munge
StateSaveLocation=$dir/ctld
SlurmdSpoolDir=$dir/spool
SlurmctldPidFile=$dir/slurmctld.pid
SlurmdPidFile=$dir/slurmd.pid
SlurmctldLogFile=$dir/slurmctld.log
SlurmdLogFile=$dir/slurmd.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SchedulerType=sched/backfill
SchedulerParameters=sched_interval=2,bf_interval=1
JobCompType=jobcomp/none
AccountingStorageType=accounting_storage/none
JobAcctGatherType=jobacct_gather/none
MpiDefault=none
ReturnToService=2
MinJobAge=600
KillWait=5
NodeName=$host NodeAddr=127.0.0.1 CPUs=2 State=UNKNOWN
PartitionName=farm Nodes=ALL Default=YES MaxTime=INFINITE State=UP
CONF
  export SLURM_CONF=$dir/slurm.conf
  slurmctld -i -f "$SLURM_CONF"
  slurmd -f "$SLURM_CONF"
  for _ in $(seq 1 60); do
    if sinfo -h -o '%t' 2>/dev/null | grep -qE '^(idle|mix|alloc)'; then
      echo "export SLURM_CONF=$SLURM_CONF"
      return 0
    fi
    sleep 0.5
  done
  echo "the test cluster did not come up; see $dir/slurmctld.log and $dir/slurmd.log" >&2
  sinfo >&2 || true
  return 1
}

stop_pid() {
  local file=$1
  [ -f "$file" ] || return 0
  local pid
  pid=$(cat "$file")
  kill "$pid" 2>/dev/null || return 0
  for _ in $(seq 1 40); do
    kill -0 "$pid" 2>/dev/null || return 0
    sleep 0.25
  done
  kill -9 "$pid" 2>/dev/null || true
}

stop() {
  stop_pid "$dir/slurmd.pid"
  stop_pid "$dir/slurmctld.pid"
  stop_pid "$dir/munge/munged.pid"
}

case $action in
start) start ;;
stop) stop ;;
*) echo "usage: $0 start|stop DIR" >&2 && exit 2 ;;
esac
