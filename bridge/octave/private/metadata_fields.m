function fields = metadata_fields()
% What the metadata may say of a capture: the name of each field, which is its tag in the file too, and its kind.
  fields = {
    'sensor_width',  'integer'
    'sensor_height', 'integer'
    'left_margin',   'integer'
    'top_margin',    'integer'
    'black_levels',  'list'
    'white_level',   'number'
    'white_balance', 'list'
    'color_matrix',  'matrix'
    'camera_make',   'text'
    'camera_model',  'text'
    'exposure_time', 'number'
    'aperture',      'number'
    'iso',           'number'
    'focal_length',  'number'
    'capture_time',  'text'
    'orientation',   'integer'
  };
end
