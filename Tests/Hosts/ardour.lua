-- SPDX-License-Identifier: GPL-3.0-or-later
-- What ardour.py has Ardour do:  ardourN-lua ardour.lua JOB.lua
-- The job is a table: `folder` and `name` of the session, the steps to take, and what they need. Lines that begin with
-- "step " are the test's own; whatever else appears is Ardour speaking.
io.stdout:setvbuf("no")

local job = dofile(arg[1])
local session

local function say(...)
    io.stdout:write(table.concat({"step", ...}, "\t") .. "\n")
end

local function track()
    return session:route_by_name("Track")
end

local function insert()
    return track():nth_plugin(0)
end

local function parameters(processor)
    local numbers = {}
    local plugin = processor:to_insert():plugin(0)
    for i = 0, plugin:parameter_count() - 1 do
        numbers[plugin:parameter_label(i)] = i
    end
    return function(name)
        return numbers[name] or error("the plug-in shows no parameter '" .. name .. "'", 0)
    end
end

local steps = {}

-- A stereo track that goes straight to the master.
function steps.create()
    session = create_session(job.folder, job.name, job.rate)
    assert(session, "no session made")
    local made = session:new_audio_track(2, 2, nil, 1, "Track", ARDOUR.PresentationInfo.max_order,
                                         ARDOUR.TrackMode.Normal, true):front()
    for channel = 0, 1 do
        local master = session:master_out():input():nth(channel)
        assert(made:output():nth(channel):connect(master:name()) == 0, "the track reaches no master")
    end
end

function steps.open()
    session = load_session(job.folder, job.name)
    assert(session, "the session does not open")
end

function steps.insert()
    local processor = ARDOUR.LuaAPI.new_plugin(session, job.class, ARDOUR.PluginType.VST3, "")
    assert(not processor:isnil(), "Ardour makes no plug-in of class " .. job.class)
    assert(track():add_processor_by_index(processor, 0, nil, true) == 0, "the track takes no plug-in")
    local number = parameters(processor)
    for _, setting in ipairs(job.settings) do
        assert(ARDOUR.LuaAPI.set_processor_param(processor, number(setting[1]), setting[2]), setting[1])
    end
end

-- Steps, no ramps: a ramp is followed block by block, and where blocks begin is the host's secret.
function steps.automate()
    local processor = insert()
    local number = parameters(processor)
    for _, lane in ipairs(job.automation) do
        local list = ARDOUR.LuaAPI.plugin_automation(processor, number(lane[1]))
        list:set_interpolation(Evoral.InterpolationStyle.Discrete)
        for _, point in ipairs(lane[2]) do
            list:add(Temporal.timepos_t(point[1]), point[2], false, false)
        end
        local which = Evoral.Parameter(ARDOUR.AutomationType.PluginAutomation, 0, number(lane[1]))
        processor:to_automatable():automation_control(which, false):set_automation_state(ARDOUR.AutoState.Play)
    end
end

-- Says what each set parameter holds, and how many points each lane has.
function steps.tell()
    local processor = insert()
    assert(not processor:isnil(), "the session came back without its plug-in")
    local number = parameters(processor)
    for _, setting in ipairs(job.settings) do
        local value = ARDOUR.LuaAPI.get_processor_param(processor, number(setting[1]))
        say("value", setting[1], string.format("%.9g", value))
    end
    for _, lane in ipairs(job.automation) do
        say("points", lane[1], ARDOUR.LuaAPI.plugin_automation(processor, number(lane[1])):size())
    end
    say("latency", processor:to_insert():signal_latency())
end

function steps.bypass()
    insert():deactivate()
end

function steps.export()
    local export = session:simple_export()
    assert(export:set_preset(job.preset), "no such export preset")
    export:set_folder(job.exports)
    export:set_name(table.remove(job.names, 1))
    export:set_range(0, job.frames)
    assert(export:run_export(), "the export failed")
end

function steps.save()
    assert(session:save_state("") == 0, "the session does not save")
end

assert(AudioEngine:set_backend("None (Dummy)", "", ""), "Ardour has no backend without a sound card")
for _, step in ipairs(job.steps) do
    say(step)
    steps[step]()
end
close_session()
say("done")
quit()
