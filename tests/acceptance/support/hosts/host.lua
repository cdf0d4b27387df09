#!/usr/bin/luajit
-- An application in Lua that updates itself; see tests/acceptance/c_interface_test.py. The declarations are those of the
-- header, which the test puts into HOST_DECLARATIONS.
local ffi = require("ffi")
ffi.cdef(os.getenv("HOST_DECLARATIONS"))
local zk = ffi.load(os.getenv("HOST_LIBRARY"))
local text = ffi.string

local function show(...) print(table.concat({...}, " ")) end

local function useSemaphores(name, folder)
  local place, other = ffi.new("zk_semaphore*[1]"), ffi.new("zk_semaphore*[1]")
  local missing = zk.zk_semaphore_open(name, place)
  show("open", missing, text(zk.zk_error_text(missing)))
  show("create", zk.zk_semaphore_create(name, 1, 384, 1, place))
  show("create", zk.zk_semaphore_create(name, 1, 384, 1, other))
  local semaphore = place[0]
  show("try", zk.zk_semaphore_try_wait(semaphore))
  show("try", zk.zk_semaphore_try_wait(semaphore))
  show("post", zk.zk_semaphore_post(semaphore))
  show("guarded wait", zk.zk_semaphore_wait_guarded(semaphore, folder, 0, 0.01))
  show("guarded wait", zk.zk_semaphore_wait_guarded(semaphore, folder, 1, 0.01))
  show("guarded post", zk.zk_semaphore_post_guarded(semaphore, folder))
  show("guarded post", zk.zk_semaphore_post_guarded(semaphore, folder))
  show("wait", zk.zk_semaphore_wait(semaphore))
  zk.zk_semaphore_close(semaphore)
  show("unlink", zk.zk_semaphore_unlink(name))
  show("unlink", zk.zk_semaphore_unlink(name))
end

local function useVersions()
  local version, room = ffi.new("uint64_t[1]"), ffi.new("char[32]")
  show("parse", zk.zk_version_parse("1.2.3", version))
  show("parse", zk.zk_version_parse("1.2.3.4", version))
  zk.zk_version_text(version[0], room, 32)
  show("version", tonumber(version[0]), text(room))
  show("compare", zk.zk_version_compare(version[0], version[0] + 1))
end

local function begin(installer, folder)
  local place = ffi.new("zk_update*[1]")
  show("begin", zk.zk_update_begin(installer, folder, 0, 10, place))
  return place[0]
end

local function update(installer, folder)
  local start = begin(installer, "/")
  show("state", tonumber(zk.zk_update_poll(start)), text(zk.zk_update_reason(zk.zk_update_poll(start))))
  zk.zk_update_free(start)

  start = begin("/bin/false", folder)
  show("state", tonumber(zk.zk_update_wait(start)))
  show("status", zk.zk_update_exit_status(start) .. ",", "log", text(zk.zk_update_log_line(start)))
  zk.zk_update_free(start)

  start = begin(installer, folder)
  local state = tonumber(zk.zk_update_wait(start))
  show("state", state)
  zk.zk_update_free(start)
  return state == 1 and 0 or 1
end

local folder = os.getenv("HOST_UPDATES")
local arguments = ffi.new("const char*[?]", #arg + 2, {[0] = arg[0], unpack(arg)})
local place = ffi.new("zk_outcome*[1]")
if zk.zk_outcome_read(#arg + 1, arguments, folder, place) ~= 0 then os.exit(2) end
local outcome = place[0]
if zk.zk_outcome_follows_update(outcome) ~= 0 then
  io.output(os.getenv("HOST_REPORT"))
  io.write(zk.zk_outcome_was_installed(outcome), " ", text(zk.zk_outcome_from_version(outcome)), " ",
           text(zk.zk_outcome_backup_path(outcome)), "\n")
  io.write("accept ", zk.zk_outcome_accept(outcome), "\n")
  io.write("put back ", zk.zk_outcome_put_back(outcome), "\nend\n")
  io.close()
  zk.zk_outcome_free(outcome)
  os.exit(0)
end
zk.zk_outcome_free(outcome)
useSemaphores(os.getenv("HOST_SEMAPHORE"), folder)
useVersions()
os.exit(update(os.getenv("HOST_INSTALLER"), folder))
